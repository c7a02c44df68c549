#include "read/seven_zip_source.h"

#include "base/worker_count.h"
#include "read/lzma2_source.h"
#include "read/prefetch.h"

#include <algorithm>

namespace {

// What all the workers together hold.
constexpr std::uint64_t kLeastAhead = std::uint64_t{2} * 1024 * 1024;
constexpr std::uint64_t kMostAhead = std::uint64_t{128} * 1024 * 1024;
constexpr std::uint64_t kMostDictionaries = std::uint64_t{256} * 1024 * 1024;

} // namespace

/// Unpacks its share of the blocks on a thread of its own.
class SevenZipSource::Worker
{
public:
    Worker(const InputFile &file, Lzma2Blocks &blocks, std::size_t index, std::size_t step,
           std::uint32_t dictionary, std::size_t ahead)
        : m_source(file, blocks, index, step, dictionary)
        , m_ahead(m_source, ahead)
    {
    }

    /// The next bytes, at most \a most; good until the next call.
    std::string_view Next(std::uint64_t most)
    {
        if (m_left.empty()) {
            m_left = m_ahead.Next();
        }
        const std::string_view bytes = m_left.substr(0, most);
        m_left.remove_prefix(bytes.size());
        return bytes;
    }

private:
    Lzma2Source m_source;
    Prefetch m_ahead;
    std::string_view m_left;
};

SevenZipSource::SevenZipSource(const InputFile &file, const Lzma2File &packed, Progress &progress)
    : m_file(file)
    , m_packed(packed)
    , m_progress(progress)
    , m_blocks(file, packed.begin, packed.end)
{
    const std::uint64_t most =
        std::clamp<std::uint64_t>(kMostDictionaries / packed.dictionary, 1, WorkerCount());
    std::size_t workers = 0;
    while (workers < most && m_blocks.At(workers)) {
        ++workers;
    }
    // None has to pause if each can finish its block while those of the others are read.
    const std::uint64_t all = workers > 1 ? workers * m_blocks.At(0)->size : 0;
    const std::uint64_t ahead = std::clamp(all, kLeastAhead, kMostAhead);
    for (std::size_t i = 0; i < workers; ++i) {
        m_workers.push_back(std::make_unique<Worker>(file, m_blocks, i, workers, packed.dictionary,
                                                     ahead / workers));
    }
}

SevenZipSource::~SevenZipSource() = default;

std::string_view SevenZipSource::Next()
{
    const std::optional<Lzma2Block> block = m_blocks.At(m_index);
    if (!block) {
        if (m_read != m_packed.size || m_crc != m_packed.crc) {
            throw BadBlock();
        }
        return {};
    }
    Worker &worker = *m_workers[m_index % m_workers.size()];
    const std::string_view bytes = worker.Next(block->size - m_blockRead);
    m_crc = lzma_crc32(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size(), m_crc);
    m_read += bytes.size();
    m_blockRead += bytes.size();
    m_progress.Reach(block->begin + (block->end - block->begin) * m_blockRead / block->size,
                     m_file.Size());
    if (m_blockRead == block->size) {
        ++m_index;
        m_blockRead = 0;
    }
    return bytes;
}
