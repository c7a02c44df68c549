#include "Repository/platform.h"

#include <QString>
#include <QSysInfo>

#include <algorithm>

const QList<Platform> &Platforms()
{
    static const QList<Platform> platforms = {
        {6, "x86_64", "x86_64"},      {7, "arm64", "arm64"},        {8, "any machine", nullptr},
        {10, "any machine", nullptr}, {11, "any machine", nullptr}, {12, "any machine", nullptr},
    };
    return platforms;
}

bool IsPlatformSupported(int code)
{
    return std::any_of(Platforms().begin(), Platforms().end(), [code](const Platform &platform) {
        return platform.code == code
               && (!platform.architecture
                   || QSysInfo::currentCpuArchitecture() == QLatin1String(platform.architecture));
    });
}
