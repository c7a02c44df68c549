#include "Repository/manifests.h"

#include <variant>

namespace {

const char kMarker[] = "//zeft_upt_fversions.info\r\n";

template <typename Line> using Column = std::variant<int Line::*, qint64 Line::*, QString Line::*>;

const Column<FileLine> kFileColumns[] = {&FileLine::platform,   &FileLine::file_name,
                                         &FileLine::remote_dir, &FileLine::time_stamp,
                                         &FileLine::file_size,  &FileLine::checksum};

const Column<PackageLine> kPackageColumns[] = {&PackageLine::platform,   &PackageLine::class_index,
                                               &PackageLine::title,      &PackageLine::unused,
                                               &PackageLine::first_stem, &PackageLine::second_stem,
                                               &PackageLine::description};

void ReadField(const QString &field, int &value)
{
    value = field.toInt();
}

void ReadField(const QString &field, qint64 &value)
{
    value = field.toLongLong();
}

void ReadField(const QString &field, QString &value)
{
    value = field;
}

template <typename Line, int Count>
void ReadFields(const QStringList &fields, const Column<Line> (&columns)[Count], Line &line)
{
    for (int i = 0; i < Count; ++i)
        std::visit([&](auto member) { ReadField(fields[i], line.*member); }, columns[i]);
}

QString Field(const QString &value)
{
    return value;
}

QString Field(qint64 value)
{
    return QString::number(value);
}

template <typename Line, int Count>
QByteArray WriteLines(const QList<Line> &lines, const Column<Line> (&columns)[Count])
{
    QByteArray bytes;
    for (const Line &line : lines) {
        QStringList fields;
        for (const Column<Line> &column : columns)
            std::visit([&](auto member) { fields.append(Field(line.*member)); }, column);
        bytes += fields.join('#').toUtf8() + "\r\n";
    }
    return bytes;
}

QStringList WithoutEmpty(QStringList texts)
{
    texts.removeAll(QString());
    return texts;
}

QStringList Lines(const QByteArray &bytes)
{
    return WithoutEmpty(TextUpToNul(bytes).split("\r\n"));
}

} // namespace

QString TextUpToNul(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes.constData());
}

QString VersionFromTimeStamp(const QString &time_stamp)
{
    return time_stamp.left(time_stamp.indexOf('T')); // left(-1) is the whole text
}

const QStringList &ClassNames()
{
    static const QStringList names = {
        "8bit/16bit uC", "32bit/64bit uC (No FPU)", "32bit/64bit uC (FPU)", "FPGA",
        "Embedded OS",   "Android Device",          "Desktop/Server",       "Native"};
    return names;
}

bool ReadFileList(QByteArray bytes, QStringList &lines)
{
    if (!bytes.contains(kMarker))
        return false;
    lines = Lines(bytes.replace(kMarker, ""));
    return true;
}

bool ReadFileLine(const QString &line, FileLine &file)
{
    const QStringList fields = WithoutEmpty(line.split('#'));
    if (fields.size() < static_cast<int>(std::size(kFileColumns)))
        return false;
    ReadFields(fields, kFileColumns, file);
    return true;
}

QByteArray WriteFileList(const QList<FileLine> &files)
{
    return kMarker + WriteLines(files, kFileColumns);
}

bool ReadPackageList(const QByteArray &bytes, QStringList &lines)
{
    if (bytes.indexOf('#') > 2)
        return false;
    lines = Lines(bytes);
    return true;
}

bool ReadPackageLine(const QString &line, PackageLine &package)
{
    const QStringList fields = line.split('#');
    if (fields.size() != static_cast<int>(std::size(kPackageColumns)))
        return false;
    ReadFields(fields, kPackageColumns, package);
    return true;
}

QByteArray WritePackageList(const QList<PackageLine> &packages)
{
    return WriteLines(packages, kPackageColumns);
}
