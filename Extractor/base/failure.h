#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>

/// What ends a run: the text goes to standard error, the code becomes the exit code.
class Failure : public std::runtime_error
{
public:
    explicit Failure(const std::string &text, int exit_code = 1)
        : std::runtime_error(text)
        , m_exitCode(exit_code)
    {
    }

    int ExitCode() const { return m_exitCode; }

private:
    int m_exitCode; // never 0
};

/// The failure of a system call on \a subject, usually a path; \a error is its errno.
Failure SystemFailure(const std::string &subject, int error = errno);

/// The refusal to fill the disk to the brim, or the disk's own.
Failure NotEnoughSpace();
