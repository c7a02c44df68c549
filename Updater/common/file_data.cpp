#include "common/file_data.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace {
const qint64 kBlockSize = 1000000;
}

qint64 GetFileDataChecksum(QFile &file, qint64 limit)
{
    std::vector<unsigned char> block(static_cast<size_t>(kBlockSize));
    qint64 sum = 0;
    qint64 done = 0;
    while (limit <= 0 || done < limit) {
        const qint64 wanted = limit > 0 ? std::min(kBlockSize, limit - done) : kBlockSize;
        file.seek(done);
        const qint64 got = file.read(reinterpret_cast<char *>(block.data()), wanted);
        if (got <= 0)
            break;
        sum = std::accumulate(block.begin(), block.begin() + got, sum);
        done += got;
    }
    return sum;
}
