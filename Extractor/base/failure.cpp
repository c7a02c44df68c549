#include "base/failure.h"

#include <system_error>

Failure SystemFailure(const std::string &subject, int error)
{
    if (error == ENOSPC || error == EDQUOT)
        return NotEnoughSpace();
    return Failure(subject + ": " + std::generic_category().message(error));
}

Failure NotEnoughSpace()
{
    return Failure("not enough space at the destination");
}
