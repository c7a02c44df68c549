#pragma once

#include <QString>

class QByteArray;

// version.info, by which an installed component states its build, see docs/formats.md.

/// The build that \a bytes state, with "-" for every "."; empty if there is none.
QString BuildFromVersionInfo(const QByteArray &bytes);

/// The build that the component in \a component_dir states; empty if it can't be told.
QString BuildIn(const QString &component_dir);

/// What a component's directory holds.
enum class InstalledBuild {
    Missing, // there is no such directory
    Other,   // another build, or one that can't be told
    This
};

/// Compares the build in \a component_dir with \a version, a date such as 2024-05-01. An empty
/// version proves nothing.
InstalledBuild CompareBuild(const QString &component_dir, const QString &version);
