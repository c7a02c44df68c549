#include "source/starter.h"

#include "Repository/names.h"
#include "base/failure.h"
#include "files.h"
#include "zip_writer.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

const char kTop[] = ":/starter";

const char *const kComponents[] = {
    "core/version_latest/zeft_core_sample.zip", "blocks/version_latest/zeft_blocks_sample.zip",
    "boards/zeft_bsp_sample.hlib.zip", "boards/zeft_bsp_sample.htc.zip"};

/// An archive with nothing but its version.info, released today.
void PackComponent(const QString &path)
{
    const QString target = InstallTargetOf(path.section('/', -1)).dir;
    const QString build = QDateTime::currentDateTimeUtc().date().toString("yyyy.MM.dd");
    ZipWriter zip(path);
    zip.AddFile(target + '/' + kVersionInfo,
                QString("name: %1\nbuild: %2\n").arg(target, build).toLatin1());
    zip.Close();
}

} // namespace

void MakeStarter(const QString &dir)
{
    if (QFileInfo::exists(dir) && !QFileInfo(dir).isReadable())
        Fail(QString("%1: the folder can't be read").arg(dir));
    if (!QDir(dir).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
        Fail(QString("%1: the folder isn't empty").arg(dir));
    for (const QString &file : FilesBelow(kTop)) {
        QFile resource(kTop + ('/' + file));
        resource.open(QIODevice::ReadOnly);
        WriteFile(dir + '/' + file, resource.readAll());
    }
    for (const char *const component : kComponents)
        PackComponent(dir + '/' + component);
}
