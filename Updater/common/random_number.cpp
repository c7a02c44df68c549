#include "common/random_number.h"

#include <QRandomGenerator>

unsigned int GenerateRandomNumber(unsigned int low, unsigned int high)
{
    const quint32 bits = QRandomGenerator::global()->generate();
    if (low == high)
        return bits;
    return low + static_cast<unsigned int>((quint64(high - low) * bits) >> 32);
}
