#include "read/prefetch.h"

#include <system_error>

namespace {

constexpr std::size_t kBlockSize = std::size_t{256} * 1024;
constexpr std::size_t kBlocks = 8;

} // namespace

Prefetch::Prefetch(ByteSource &source)
    : m_source(source)
    , m_blocks(kBlocks)
{
    try {
        m_thread = std::thread(&Prefetch::Run, this);
    } catch (const std::system_error &) {
        // Next() can read by itself.
    }
}

Prefetch::~Prefetch()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

std::string_view Prefetch::Next()
{
    if (!m_thread.joinable()) {
        Fill(m_blocks.front());
        return {m_blocks.front().bytes.get(), m_blocks.front().size};
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_lent) {
        m_lent = false;
        ++m_taken;
        m_changed.notify_all();
    }
    m_changed.wait(lock, [this] { return m_filled > m_taken || m_ended; });
    if (m_filled > m_taken) {
        m_lent = true;
        const Block &block = m_blocks[m_taken % m_blocks.size()];
        return {block.bytes.get(), block.size};
    }
    if (m_failure)
        std::rethrow_exception(m_failure);
    return {};
}

void Prefetch::Run()
{
    std::exception_ptr failure;
    try {
        for (;;) {
            {
                std::unique_lock<std::mutex> lock(m_mutex);
                m_changed.wait(
                    lock, [this] { return m_filled - m_taken < m_blocks.size() || m_stopping; });
                if (m_stopping)
                    return;
            }
            Block &block = m_blocks[m_filled % m_blocks.size()];
            Fill(block);
            if (block.size == 0)
                break;
            const std::lock_guard<std::mutex> lock(m_mutex);
            ++m_filled;
            m_changed.notify_all();
        }
    } catch (...) {
        failure = std::current_exception();
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_failure = failure;
    m_ended = true;
    m_changed.notify_all();
}

void Prefetch::Fill(Block &block)
{
    if (!block.bytes)
        block.bytes.reset(new char[kBlockSize]);
    block.size = 0;
    while (block.size < kBlockSize) {
        const std::size_t got =
            m_source.Read(block.bytes.get() + block.size, kBlockSize - block.size);
        if (got == 0)
            break;
        block.size += got;
    }
}
