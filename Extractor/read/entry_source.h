#pragma once

#include "read/archive_reader.h"
#include "read/byte_source.h"

#include <optional>

/// The data of the entry that a reader has come to.
class EntrySource : public ByteSource
{
public:
    explicit EntrySource(ArchiveReader &reader)
        : m_reader(reader)
    {
    }

    std::size_t Read(char *to, std::size_t room) override
    {
        ArchiveReader::Block block;
        while (m_left.empty() && m_reader.NextBlock(block))
            m_left = block.bytes;
        const std::size_t size = m_left.copy(to, room);
        m_left.remove_prefix(size);
        return size;
    }

private:
    ArchiveReader &m_reader;
    std::string_view m_left;
};

/// A file, decompressed by whichever of libarchive's filters suits it, or by none. The file is not
/// read before the first Read().
class FilterSource : public ByteSource
{
public:
    FilterSource(const InputFile &file, Progress &progress)
        : m_file(file)
        , m_progress(progress)
    {
    }

    std::size_t Read(char *to, std::size_t room) override
    {
        if (!m_reader) {
            m_reader.emplace(m_file, ArchiveReader::Format::Filter, m_progress);
            m_reader->NextEntry();
            m_content.emplace(*m_reader);
        }
        return m_content->Read(to, room);
    }

private:
    const InputFile &m_file;
    Progress &m_progress;
    std::optional<ArchiveReader> m_reader;
    std::optional<EntrySource> m_content;
};
