#pragma once

#include <QList>

/// A kind of machine that a repository's files can be for.
struct Platform
{
    int code; // as the lists state it
    const char *name;
    const char *architecture; // QSysInfo::currentCpuArchitecture() of such a machine; null: any
};

/// All platforms, by their code. No other code suits any machine, so neither does a text that is no
/// number and thus reads as 0.
const QList<Platform> &Platforms();

/// Tells whether files with the platform \a code are for the machine that this program runs on.
bool IsPlatformSupported(int code);
