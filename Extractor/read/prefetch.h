#pragma once

#include "read/byte_source.h"

#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

/// Reads a source ahead on a thread of its own, so that decompressing and writing go on at a time.
class Prefetch
{
public:
    explicit Prefetch(ByteSource &source);
    ~Prefetch();
    Prefetch(const Prefetch &) = delete;
    Prefetch &operator=(const Prefetch &) = delete;

    /// The next bytes, good until the next call; none at the end. Throws what the source threw.
    std::string_view Next();

private:
    struct Block
    {
        std::unique_ptr<char[]> bytes; // null before its first use; never filled with zeros
        std::size_t size = 0;
    };

    void Run();
    void Fill(Block &block);

    ByteSource &m_source;
    std::vector<Block> m_blocks; // a ring
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_filled = 0;     // blocks that the thread has filled since the start
    std::size_t m_taken = 0;      // blocks that the reader has done with since the start
    bool m_lent = false;          // the reader still looks at block m_taken
    bool m_ended = false;         // no block comes any more
    bool m_stopping = false;      // the reader wants no more
    std::exception_ptr m_failure; // why it ended; null for a good end
    std::thread m_thread;         // declared last, since it uses all other members
};
