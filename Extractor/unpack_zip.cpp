#include "unpack_zip.h"

#include "base/failure.h"
#include "base/worker_count.h"
#include "entry_writer.h"
#include "read/archive_reader.h"
#include "read/zip_directory.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t kBatchEntries = 64;
constexpr std::uint64_t kBatchBytes = std::uint64_t{512} * 1024; // compressed

/// What the workers share. Each has a reader of its own, and again and again takes the next entries
/// that nobody has taken; its reader passes over all others, which costs little. They come in
/// batches, since two workers that make files in one folder wait for one another.
class ZipWork
{
public:
    ZipWork(const InputFile &file, const ZipDirectory &directory, Destination &destination,
            Progress &progress)
        : m_file(file)
        , m_directory(directory)
        , m_destination(destination)
        , m_progress(progress)
    {
        std::uint64_t bytes = 0;
        for (std::size_t i = 0; i < directory.Size(); ++i) {
            if (bytes >= kBatchBytes || i % kBatchEntries == 0) {
                m_batches.push_back(i);
                bytes = 0;
            }
            bytes += directory.CompressedSize(i);
        }
    }

    std::size_t BatchCount() const { return m_batches.size(); }

    /// One worker's run. It throws nothing: the first failure of all is kept.
    void Run()
    {
        try {
            TakeBatches();
        } catch (...) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_failure)
                m_failure = std::current_exception();
            m_next = m_batches.size(); // the others stop after their batch
        }
    }

    void ThrowFailure()
    {
        if (m_failure)
            std::rethrow_exception(m_failure);
    }

private:
    void TakeBatches()
    {
        ArchiveReader reader(m_file, ArchiveReader::Format::Zip, m_progress);
        EntryWriter writer(m_destination);
        std::size_t read = 0;
        for (std::size_t mine = m_next++; mine < m_batches.size(); mine = m_next++) {
            const std::size_t end =
                mine + 1 < m_batches.size() ? m_batches[mine + 1] : m_directory.Size();
            for (; read < end; ++read) {
                archive_entry *const entry = reader.NextEntry();
                if (!entry)
                    throw Failure("is damaged: entries are missing");
                if (read >= m_batches[mine])
                    Write(writer, reader, entry, read);
            }
        }
    }

    void Write(EntryWriter &writer, ArchiveReader &reader, archive_entry *entry, std::size_t index)
    {
        m_directory.CheckEntry(index);
        if (const char *const target = archive_entry_symlink(entry))
            m_directory.CheckLink(index, target);
        if (archive_entry_filetype(entry) == AE_IFDIR)
            m_directory.CheckFolder(index);
        writer.Write(reader, entry);
    }

    const InputFile &m_file;
    const ZipDirectory &m_directory;
    Destination &m_destination;
    Progress &m_progress;
    std::vector<std::size_t> m_batches; // the first entry of each
    std::atomic<std::size_t> m_next{0}; // batch
    std::mutex m_mutex;
    std::exception_ptr m_failure;
};

} // namespace

void UnpackZip(const InputFile &file, Destination &destination, Progress &progress)
{
    const ZipDirectory directory(file);
    ZipWork work(file, directory, destination, progress);
    const std::size_t workers = std::min<std::size_t>(WorkerCount(), work.BatchCount());
    std::vector<std::thread> others;
    try {
        while (others.size() + 1 < workers)
            others.emplace_back(&ZipWork::Run, &work);
    } catch (const std::system_error &) {
        // Fewer workers do it as well.
    }
    work.Run();
    for (std::thread &other : others)
        other.join();
    work.ThrowFailure();
}
