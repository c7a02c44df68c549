#include "repository_checks.h"

#include "Repository/description.h"
#include "Repository/manifests.h"
#include "Repository/names.h"
#include "Repository/platform.h"
#include "component_archive.h"
#include "repository_source.h"
#include "source_folder.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QTextCodec>

#include <algorithm>

namespace {
const int kLongestName = 251; // bytes, as a file system has 255 and the updater adds ".dnl"

QString FileNameFault(const Component &component)
{
    QString fault = NameFault(component.file_name);
    if (!fault.isEmpty())
        return fault;
    if (!IsArchiveName(component.file_name))
        return QString("its name must end in one of %1, and hold no other of them")
            .arg(ArchiveSuffixes().join(", "));
    if (QFile::encodeName(component.file_name).size() > kLongestName)
        return "its name is too long";
    if (component.file_name == kDescriptionsArchive)
        return "its name is that of the description pages";
    if (!IsInstallable(component.file_name))
        return QString("its folder, \"%1\", would not be its own")
            .arg(InstallTargetOf(component.file_name).Path());
    return {};
}

QStringList CheckComponents(const QList<Component> &components)
{
    QStringList problems;
    for (const Component &component : components) {
        QString fault = FileNameFault(component);
        if (fault.isEmpty() && !IsPlatformCode(component.platform))
            fault = QString("%1 is not a platform code").arg(component.platform);
        if (fault.isEmpty())
            fault = ArchiveFault(component.path, InstallTargetOf(component.file_name).dir,
                                 component.modified.date().toString(Qt::ISODate));
        if (!fault.isEmpty())
            problems << QString("%1: %2").arg(component.Name(), fault);
    }
    return problems;
}

/// Components that one machine would take for each other: by their stem in the tree, by their
/// target on the disk.
QStringList CheckRivals(const QList<Component> &components)
{
    QStringList problems;
    QHash<QString, QString> owners;
    for (const Component &component : components) {
        const QStringList keys = {"the stem " + ArchiveStem(component.file_name),
                                  "the folder " + InstallTargetOf(component.file_name).Path()};
        for (const QString &machine : Architectures()) {
            if (!IsForArchitecture(component.platform, machine))
                continue;
            for (const QString &key : keys) {
                QString &owner = owners[machine + ": " + key];
                if (!owner.isEmpty())
                    problems
                        << QString("%1: it shares %2 with %3").arg(component.Name(), key, owner);
                owner = component.Name();
            }
        }
    }
    problems.removeDuplicates();
    return problems;
}

QString PageFault(const QString &pages_dir, const QString &page)
{
    QString fault = NameFault(page);
    if (!fault.isEmpty())
        return fault;
    QByteArray bytes;
    if (!ReadSourceFile(pages_dir + '/' + page, bytes).isEmpty())
        return QString("the page \"%1\" cannot be read").arg(page);
    QTextCodec::ConverterState state;
    QString text =
        QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    if (bytes.contains('\0') || state.invalidChars > 0 || state.remainingChars > 0)
        return QString("the page \"%1\" is not UTF-8 text").arg(page);
    if (!CutForLayout(text))
        return QString("the page \"%1\" is too large to be shown").arg(page);
    return {};
}

QStringList CheckPages(const RepositorySource &source)
{
    QStringList problems;
    for (const QString &name : source.pages) {
        const QString path = source.pages_dir + '/' + name;
        if (QFileInfo(path).size() > kMostDescriptionBytes)
            problems << QString("%1: it is too large to be shown").arg(path);
    }
    return problems;
}

QString TitleFault(const QString &title)
{
    const bool broken = std::any_of(title.begin(), title.end(), [](QChar c) {
        return c == '#' || c.category() == QChar::Other_Control;
    });
    if (title.isEmpty() || broken)
        return "the title is empty or holds a \"#\" or a control character";
    return {};
}

/// True if each machine that shows a package of this \a platform finds an archive of this \a stem.
bool IsOffered(const QList<Component> &components, const QString &stem, int platform)
{
    const QStringList machines = Architectures();
    return std::all_of(machines.begin(), machines.end(), [&](const QString &machine) {
        return !IsForArchitecture(platform, machine)
               || std::any_of(components.begin(), components.end(), [&](const Component &c) {
                      return IsForArchitecture(c.platform, machine)
                             && ArchiveStem(c.file_name) == stem;
                  });
    });
}

QString PackageFault(const RepositorySource &source, const Package &package)
{
    if (!IsPlatformCode(package.platform))
        return QString("%1 is not a platform code").arg(package.platform);
    if (package.class_index < 0 || package.class_index >= ClassNames().size())
        return QString("the class is not a number from 0 to %1").arg(ClassNames().size() - 1);
    QString title_fault = TitleFault(package.title);
    if (!title_fault.isEmpty())
        return title_fault;
    if (package.archives.isEmpty() || package.archives.size() > 2)
        return "it needs one or two archives";
    for (const QString &archive : package.archives) {
        const bool published =
            std::any_of(source.components.begin(), source.components.end(),
                        [&](const Component &c) { return c.file_name == archive; });
        if (!published || package.archives.count(archive) > 1)
            return QString("the archive \"%1\" is in no directory, or named twice").arg(archive);
        if (!IsOffered(source.components, ArchiveStem(archive), package.platform))
            return QString("the archive \"%1\" is not for all of its platforms").arg(archive);
    }
    return PageFault(source.pages_dir, package.page);
}

QStringList CheckPackages(const RepositorySource &source)
{
    QStringList problems;
    for (const Package &package : source.packages) {
        const QString fault = PackageFault(source, package);
        if (!fault.isEmpty())
            problems << QString("package \"%1\": %2").arg(package.title, fault);
    }
    return problems;
}
} // namespace

QStringList CheckRepository(const RepositorySource &source)
{
    if (source.components.isEmpty())
        return {"repository.json names no directory that holds an archive"};
    return CheckComponents(source.components) + CheckRivals(source.components) + CheckPages(source)
           + CheckPackages(source);
}
