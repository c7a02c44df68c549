#pragma once

#include <QString>

class QByteArray;

/// The build that a component's version.info states, with "-" for every "."; empty if there is
/// none. The entry is "build", ":", the value, up to the first CR LF or the end of the file.
QString BuildFromVersionInfo(const QByteArray &bytes);

/// The status that a component has on the disk: not installed, installed in this version, or an
/// update available.
int StatusOnDisk(const QString &install_root, const QString &install_dir, const QString &version);
