#pragma once

#include <unistd.h>
#include <utility>

/// Owns one file descriptor; -1 is none.
class UniqueFd
{
public:
    explicit UniqueFd(int fd = -1)
        : m_fd(fd)
    {
    }
    UniqueFd(UniqueFd &&other) noexcept
        : m_fd(std::exchange(other.m_fd, -1))
    {
    }
    UniqueFd &operator=(UniqueFd &&other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;
    ~UniqueFd() { Reset(); }

    explicit operator bool() const { return m_fd >= 0; }
    int Get() const { return m_fd; }
    int Release() { return std::exchange(m_fd, -1); }
    void Reset()
    {
        if (m_fd >= 0)
            ::close(std::exchange(m_fd, -1));
    }

private:
    int m_fd;
};
