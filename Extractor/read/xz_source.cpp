#include "read/xz_source.h"

#include "base/failure.h"
#include "base/worker_count.h"

#include <cstdlib>
#include <future>
#include <new>
#include <sys/mman.h>
#include <system_error>
#include <thread>
#include <vector>

namespace {

// The highest level of xz needs 65 MiB; an archive can be made to ask for 4 GiB and more.
constexpr std::uint64_t kMostDecoderMemory = std::uint64_t{1024} * 1024 * 1024;

constexpr std::size_t kHugePage = std::size_t{2} * 1024 * 1024;

/// The decoder takes new memory for each block of tens of megabytes. In huge pages the system hands
/// it out many times faster, which shows where data decompresses as fast as memory can be copied.
void *Allocate(void *, std::size_t count, std::size_t size)
{
    const std::size_t bytes = count * size;
    if (bytes < kHugePage)
        return std::malloc(bytes);
    void *memory = nullptr;
    if (::posix_memalign(&memory, kHugePage, bytes) != 0)
        return nullptr;
    ::madvise(memory, bytes, MADV_HUGEPAGE); // without huge pages it only takes longer
    return memory;
}

constexpr lzma_allocator kAllocator = {Allocate, [](void *, void *memory) { std::free(memory); },
                                       nullptr};

#if LZMA_VERSION >= 50040002
/// Whether \a count threads can run at a time. The decoder would fail in the middle of a file where
/// it can't start one.
bool CanStartThreads(unsigned count)
{
    std::promise<void> end;
    const std::shared_future<void> ended = end.get_future().share();
    std::vector<std::thread> threads;
    try {
        while (threads.size() < count)
            threads.emplace_back([ended] { ended.wait(); });
    } catch (const std::system_error &) {
        // Then there are fewer.
    }
    end.set_value();
    for (std::thread &thread : threads)
        thread.join();
    return threads.size() == count;
}
#endif

lzma_ret StartDecoder(lzma_stream &stream)
{
#if LZMA_VERSION >= 50040002
    if (!CanStartThreads(WorkerCount() + 1)) // one more for the Prefetch
        return lzma_stream_decoder(&stream, kMostDecoderMemory, LZMA_CONCATENATED);
    lzma_mt options = {};
    options.flags = LZMA_CONCATENATED;
    options.threads = WorkerCount();
    options.memlimit_threading = kMostDecoderMemory / 2;
    options.memlimit_stop = kMostDecoderMemory;
    return lzma_stream_decoder_mt(&stream, &options);
#else
    return lzma_stream_decoder(&stream, kMostDecoderMemory, LZMA_CONCATENATED);
#endif
}

} // namespace

XzSource::XzSource(ByteSource &compressed)
    : m_compressed(compressed)
    , m_input(kInputSize)
{
    m_stream.allocator = &kAllocator;
    if (StartDecoder(m_stream) != LZMA_OK)
        throw std::bad_alloc();
}

XzSource::~XzSource()
{
    lzma_end(&m_stream);
}

std::size_t XzSource::Read(char *to, std::size_t room)
{
    m_stream.next_out = reinterpret_cast<std::uint8_t *>(to);
    m_stream.avail_out = room;
    while (m_stream.avail_out == room) {
        if (m_stream.avail_in == 0 && m_action == LZMA_RUN) {
            m_stream.next_in = reinterpret_cast<const std::uint8_t *>(m_input.data());
            m_stream.avail_in = m_compressed.Read(m_input.data(), m_input.size());
            m_action = m_stream.avail_in == 0 ? LZMA_FINISH : LZMA_RUN;
        }
        switch (lzma_code(&m_stream, m_action)) {
        case LZMA_OK:
            break;
        case LZMA_STREAM_END:
            return room - m_stream.avail_out;
        case LZMA_BUF_ERROR:
            throw Failure("is cut off");
        case LZMA_MEM_ERROR:
            throw Failure("needs more memory or threads than can be had");
        case LZMA_MEMLIMIT_ERROR:
            throw Failure("needs too much memory to be unpacked");
        default:
            throw Failure("is damaged: xz data error");
        }
    }
    return room - m_stream.avail_out;
}
