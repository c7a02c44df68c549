#include "checks/list_check.h"

#include "Repository/description.h"
#include "Repository/names.h"
#include "Repository/platform.h"
#include "files.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QTextCodec>

#include <algorithm>

const char kReleaseRecord[] = "zeft_repo.json";

namespace {

const int kLongestName = 251; // bytes, as a file system has 255 and the updater adds ".dnl"

/// True if a file of this name would be, or lie below, one that each repository has.
bool IsReserved(const QString &name)
{
    const QStringList reserved = {NameInRelease(FileListPath()), NameInRelease(PackageListPath()),
                                  NameInRelease(DescriptionsPath()), kReleaseRecord};
    return std::any_of(reserved.begin(), reserved.end(),
                       [&name](const QString &own) { return (name + '/').startsWith(own + '/'); });
}

void CheckFileName(const FileLine &file, Findings &findings)
{
    const QString &name = file.file_name;
    const QString fault = NameFault(name);
    if (!fault.isEmpty())
        findings.Add(Rule::BadName, NameOf(file), fault);
    else if (!IsArchiveName(name)) {
        findings.Add(Rule::BadArchiveName, NameOf(file),
                     QString("its name must end in one of %1, and hold no other of them")
                         .arg(ArchiveSuffixes().join(", ")));
    } else if (QFile::encodeName(name).size() > kLongestName) {
        findings.Add(Rule::BadName, NameOf(file),
                     QString("its name is longer than %1 bytes").arg(kLongestName));
    } else if (name == kDescriptionsArchive) {
        findings.Add(Rule::BadName, NameOf(file), "its name is that of the descriptions");
    } else if (IsReserved(NameOf(file))) {
        findings.Add(Rule::BadName, NameOf(file),
                     "it would take the place of a file of the repository's own");
    } else if (!IsInstallable(name)) {
        findings.Add(
            Rule::BadTarget, NameOf(file),
            QString("its folder, \"%1\", would not be its own").arg(InstallTargetOf(name).Path()));
    }
}

void CheckPlatform(int code, const QString &subject, Findings &findings)
{
    if (IsPlatformCode(code))
        return;
    QStringList codes;
    for (const Platform &platform : Platforms())
        codes << QString("%1 (%2)").arg(platform.code).arg(platform.name);
    findings.Add(Rule::BadPlatform, subject,
                 QString("%1 is not a platform code; they are %2").arg(code).arg(codes.join(", ")));
}

/// Reports files for the same machine that share a stem, by which packages name them, or a folder
/// to be installed into.
void CheckRivals(const QList<FileLine> &files, Findings &findings)
{
    QHash<QString, QString> owners;
    for (const FileLine &file : files) {
        const auto check = [&](Rule rule, const QString &what) {
            QString rival;
            for (const QString &machine : Architectures()) {
                if (!IsForArchitecture(file.platform, machine))
                    continue;
                QString &owner = owners[machine + ": " + what];
                rival = owner.isEmpty() ? rival : owner;
                owner = NameOf(file);
            }
            if (!rival.isEmpty())
                findings.Add(rule, NameOf(file), QString("it shares %1 with %2").arg(what, rival));
        };
        check(Rule::SharedStem, "the stem " + ArchiveStem(file.file_name));
        check(Rule::SharedTarget, "the folder " + InstallTargetOf(file.file_name).Path());
    }
}

/// Stems, each with the machine that it is for.
QSet<QString> PerMachine(int platform, const QStringList &stems)
{
    QSet<QString> pairs;
    for (const QString &machine : Architectures()) {
        for (const QString &stem : stems)
            if (IsForArchitecture(platform, machine) && !stem.isEmpty())
                pairs.insert(machine + ": " + stem);
    }
    return pairs;
}

/// Checks that each machine finds what its packages name, and shows what it is offered.
void CheckOffers(const Lists &lists, Findings &findings)
{
    QSet<QString> offered;
    for (const FileLine &file : lists.files)
        offered += PerMachine(file.platform, {ArchiveStem(file.file_name)});
    QSet<QString> shown;
    for (const PackageLine &package : lists.packages) {
        for (const QString &stem : {package.first_stem, package.second_stem}) {
            const QSet<QString> wanted = PerMachine(package.platform, {stem});
            shown += wanted;
            if (!offered.contains(wanted)) {
                findings.Add(
                    Rule::NotForAll, SubjectOf(package),
                    QString("the archive \"%1\" is not for all of its platforms").arg(stem));
            }
        }
    }
    for (const FileLine &file : lists.files) {
        if (!file.remote_dir.contains(kCoreDirectory) && !file.remote_dir.contains(kBlocksDirectory)
            && !shown.intersects(PerMachine(file.platform, {ArchiveStem(file.file_name)})))
            findings.Add(Rule::ShownNowhere, NameOf(file),
                         "no page of the updater shows it, and each user asks for its date");
    }
}

void CheckClass(const PackageLine &package, Findings &findings)
{
    if (package.class_index >= 0 && package.class_index < ClassNames().size())
        return;
    QStringList classes;
    for (int i = 0; i < ClassNames().size(); ++i)
        classes << QString("%1 (%2)").arg(i).arg(ClassNames()[i]);
    findings.Add(Rule::BadClass, SubjectOf(package),
                 QString("the class is not a number from 0 to %1: %2")
                     .arg(ClassNames().size() - 1)
                     .arg(classes.join(", ")));
}

void CheckTitle(const PackageLine &package, Findings &findings)
{
    const QString &title = package.title;
    const bool broken = std::any_of(title.begin(), title.end(), [](QChar c) {
        return c == '#' || c.category() == QChar::Other_Control;
    });
    if (title.isEmpty() || broken || title != QString::fromUtf8(title.toUtf8()))
        findings.Add(Rule::BadTitle, SubjectOf(package),
                     "the title is empty or holds a \"#\" or a control character");
}

void CheckDescription(const PackageLine &package, const QString &dir, Findings &findings)
{
    const QString &name = package.description;
    const QString subject = SubjectOf(package);
    const QString name_fault = NameFault(name);
    if (!name_fault.isEmpty())
        return findings.Add(Rule::MissingDescription, subject, "its description: " + name_fault);
    const QString the_description = QString("the description \"%1\" ").arg(name);
    QByteArray bytes;
    const QString failure = ReadFile(dir + '/' + name, bytes);
    if (!failure.isEmpty())
        return findings.Add(Rule::MissingDescription, subject,
                            the_description + "cannot be read: " + failure);
    QTextCodec::ConverterState state;
    QString text =
        QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    if (bytes.contains('\0') || state.invalidChars > 0 || state.remainingChars > 0)
        findings.Add(Rule::DescriptionNotText, subject, the_description + "is not UTF-8 text");
    else if (!CutForLayout(text))
        findings.Add(Rule::DescriptionTooLarge, subject,
                     the_description + "is too large to be shown");
}

/// Reads the list \a name in \a dir with the functions for a whole one and for a line of it.
template <typename ReadList, typename ReadLine, typename Line>
void ReadLines(const QString &dir, const QString &name, ReadList read_list, ReadLine read_line,
               QList<Line> &list, Findings &findings)
{
    QByteArray bytes;
    QStringList lines;
    const QString failure = ReadFile(dir + '/' + name, bytes);
    if (!failure.isEmpty())
        return findings.Add(Rule::Unreadable, name, failure);
    if (!read_list(bytes, lines))
        return findings.Add(Rule::DamagedList, name, "it does not begin as such a list does");
    for (const QString &text : qAsConst(lines)) {
        Line line;
        if (read_line(text, line))
            list.append(line);
        else
            findings.Add(Rule::DamagedList, name,
                         QString("the updater passes over the line \"%1\"").arg(text.left(80)));
    }
}

} // namespace

QString InRelease(const QString &dir, const QString &path)
{
    return dir + '/' + NameInRelease(path);
}

QString NameInRelease(const QString &path)
{
    return path.section('/', 2);
}

Lists ReadLists(const QString &dir, Findings &findings)
{
    Lists lists;
    ReadLines(dir, NameInRelease(FileListPath()), ReadFileList, ReadFileLine, lists.files,
              findings);
    ReadLines(dir, NameInRelease(PackageListPath()), ReadPackageList, ReadPackageLine,
              lists.packages, findings);
    return lists;
}

QString NameOf(const FileLine &file)
{
    return file.remote_dir + '/' + file.file_name;
}

QString SubjectOf(const PackageLine &package)
{
    return QString("package \"%1\"").arg(package.title);
}

void CheckLists(const Lists &lists, Findings &findings)
{
    if (lists.files.isEmpty())
        findings.Add(Rule::NothingOffered, kFileList, "it would have no line");
    for (const FileLine &file : lists.files) {
        const QString fault = PathFault(file.remote_dir);
        if (!fault.isEmpty())
            findings.Add(Rule::BadName, NameOf(file), "its directory: " + fault);
        CheckFileName(file, findings);
        CheckPlatform(file.platform, NameOf(file), findings);
    }
    for (const PackageLine &package : lists.packages) {
        CheckPlatform(package.platform, SubjectOf(package), findings);
        CheckClass(package, findings);
        CheckTitle(package, findings);
    }
    CheckRivals(lists.files, findings);
    CheckOffers(lists, findings);
}

void CheckDescriptions(const QList<PackageLine> &packages, const QString &dir,
                       const QStringList &files, Findings &findings)
{
    QSet<QString> named;
    for (const PackageLine &package : packages) {
        CheckDescription(package, dir, findings);
        named.insert(package.description);
    }
    for (const QString &file : files) {
        const QString name = QString(kDescriptionsFolder) + '/' + file;
        if (QFileInfo(dir + '/' + file).size() > kMostDescriptionBytes)
            findings.Add(Rule::DescriptionTooLarge, name,
                         QString("it has more than %1 bytes").arg(kMostDescriptionBytes));
        if (QFileInfo(file).suffix().startsWith("htm", Qt::CaseInsensitive)
            && !named.contains(file))
            findings.Add(Rule::UnusedDescription, name, "no package names this description");
    }
}
