#include "read/lzma2_source.h"

#include <algorithm>

Lzma2Source::Lzma2Source(const InputFile &file, Lzma2Blocks &blocks, std::size_t index,
                         std::size_t step, std::uint32_t dictionary)
    : m_file(file)
    , m_blocks(blocks)
    , m_next(index)
    , m_step(step)
    , m_dictionary(dictionary)
    , m_input(kInputSize + 1)
{
}

Lzma2Source::~Lzma2Source()
{
    lzma_end(&m_stream);
}

std::size_t Lzma2Source::Read(char *to, std::size_t room)
{
    std::size_t size = 0;
    while (size == 0 && (m_block || StartBlock())) {
        if (m_stream.avail_in == 0) {
            Fill();
        }
        m_stream.next_out = reinterpret_cast<std::uint8_t *>(to);
        m_stream.avail_out = room;
        const lzma_ret result = lzma_code(&m_stream, LZMA_RUN);
        const bool ended = result == LZMA_STREAM_END && m_stream.total_out == m_block->size
                           && m_stream.avail_in == 0 && m_offset == m_block->end;
        if (ended) {
            m_block.reset();
        } else if (result != LZMA_OK) {
            throw BadBlock();
        }
        size = room - m_stream.avail_out;
    }
    return size;
}

bool Lzma2Source::StartBlock()
{
    m_block = m_blocks.At(m_next);
    if (!m_block) {
        return false;
    }
    m_next += m_step;
    m_offset = m_block->begin;
    lzma_options_lzma options = {};
    options.dict_size =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(m_dictionary, m_block->size));
    const lzma_filter filters[] = {{LZMA_FILTER_LZMA2, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    if (lzma_raw_decoder(&m_stream, filters) != LZMA_OK) {
        throw BadBlock();
    }
    return true;
}

/// A block has no mark of its own end, so it gets one here. Behind that there is nothing.
void Lzma2Source::Fill()
{
    const auto size =
        static_cast<std::size_t>(std::min<std::uint64_t>(kInputSize, m_block->end - m_offset));
    if (size == 0) {
        return;
    }
    if (m_file.ReadAt(m_offset, m_input.data(), size) != size) {
        throw BadBlock();
    }
    m_offset += size;
    m_stream.next_in = m_input.data();
    m_stream.avail_in = size;
    if (m_offset == m_block->end) {
        m_input[m_stream.avail_in++] = kLzma2End;
    }
}
