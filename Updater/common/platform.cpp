#include "common/platform.h"

#include <QString>
#include <QSysInfo>

bool IsPlatformSupported(int code)
{
    switch (code) {
    case 6:
        return QSysInfo::currentCpuArchitecture() == QLatin1String("x86_64");
    case 7:
        return QSysInfo::currentCpuArchitecture() == QLatin1String("arm64");
    case 8:
    case 10:
    case 11:
    case 12:
        return true;
    default:
        return false;
    }
}
