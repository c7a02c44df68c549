#include "Repository/checksum.h"

#include <cstdlib>
#include <numeric>

namespace {

// gcc vectorises a loop of constant length at -O2 too.
const int kStretch = 128;

// Summed as differences to zero: gcc has one instruction for 16 absolute differences and their sum,
// but adds bytes alone by widening them step by step. That the argument is 0 must stay unknown to
// it.
int SumOfStretch(const unsigned char *bytes, unsigned char zero)
{
    int sum = 0;
    for (int i = 0; i < kStretch; ++i)
        sum += std::abs(bytes[i] - zero);
    return sum;
}

} // namespace

qint64 SumOfBytes(const unsigned char *begin, const unsigned char *end)
{
    const volatile unsigned char hidden_zero = 0;
    const unsigned char zero = hidden_zero;
    qint64 sum = 0;
    for (; end - begin >= kStretch; begin += kStretch)
        sum += SumOfStretch(begin, zero);
    return std::accumulate(begin, end, sum);
}
