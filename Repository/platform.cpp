#include "Repository/platform.h"

#include <QSysInfo>

#include <algorithm>

namespace {

/// The platform of this \a code; null for any other number.
const Platform *FindPlatform(int code)
{
    const QList<Platform> &all = Platforms();
    const auto found =
        std::find_if(all.begin(), all.end(), [code](const Platform &p) { return p.code == code; });
    return found == all.end() ? nullptr : &*found;
}

} // namespace

const QList<Platform> &Platforms()
{
    static const QList<Platform> platforms = {
        {6, "x86_64", "x86_64"},      {7, "arm64", "arm64"},        {8, "any machine", nullptr},
        {10, "any machine", nullptr}, {11, "any machine", nullptr}, {12, "any machine", nullptr},
    };
    return platforms;
}

QStringList Architectures()
{
    QStringList architectures;
    for (const Platform &platform : Platforms()) {
        if (platform.architecture)
            architectures.append(platform.architecture);
    }
    return architectures;
}

bool IsPlatformCode(int code)
{
    return FindPlatform(code);
}

QString PlatformName(int code)
{
    const Platform *platform = FindPlatform(code);
    return platform ? platform->name : QString();
}

bool IsForArchitecture(int code, const QString &architecture)
{
    const Platform *platform = FindPlatform(code);
    return platform && (!platform->architecture || platform->architecture == architecture);
}

bool IsPlatformSupported(int code)
{
    return IsForArchitecture(code, QSysInfo::currentCpuArchitecture());
}
