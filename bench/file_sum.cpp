#include "bench.h"
#include "common/file_data.h"

#include <QElapsedTimer>

#include <cstdio>

int FileSum(int, char **argv)
{
    const QString path = QFile::decodeName(argv[1]);
    QElapsedTimer timer;
    timer.start();
    const long long sum = GetFileDataChecksum(path, 0);
    std::printf("%lld %.4f\n", sum, static_cast<double>(timer.nsecsElapsed()) / 1e9);
    return 0;
}
