#pragma once

#include <QList>
#include <QStringList>

/// A kind of machine that a repository's files can be for.
struct Platform
{
    int code; // as the lists state it
    const char *name;
    const char *architecture; // QSysInfo::currentCpuArchitecture() of such a machine; null: any
};

/// All platforms, by their code. No other code suits any machine.
const QList<Platform> &Platforms();

/// The architectures that a platform of their own exists for.
QStringList Architectures();

bool IsPlatformCode(int code);

/// The name of the platform \a code; empty for any other number.
QString PlatformName(int code);

/// Tells whether files with the platform \a code are for machines of the \a architecture.
bool IsForArchitecture(int code, const QString &architecture);

/// The same for the machine that this program runs on.
bool IsPlatformSupported(int code);
