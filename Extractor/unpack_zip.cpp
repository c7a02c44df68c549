#include "unpack_zip.h"

#include "archive_reader.h"
#include "entry_writer.h"
#include "failure.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace {

/// What the workers share. Each reads the archive's directory for itself and then takes the next
/// entry that nobody has taken: a reader only ever goes forward, which costs next to nothing.
class ZipWork
{
public:
    ZipWork(const InputFile &file, std::uint64_t entryCount, Destination &destination,
            Progress &progress)
        : m_file(file)
        , m_entryCount(entryCount)
        , m_destination(destination)
        , m_progress(progress)
    {
    }

    /// One worker's run. It throws nothing: the first failure of all is kept.
    void Run()
    {
        try {
            TakeEntries();
        } catch (...) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_failure) {
                m_failure = std::current_exception();
            }
            m_next = m_entryCount + 1; // the others stop after their entry
        }
    }

    void ThrowFailure()
    {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
    }

private:
    /// The number of entries must be what the zip says: a damaged directory can lose some.
    void TakeEntries()
    {
        ArchiveReader reader(m_file, ArchiveReader::Format::Zip, m_progress);
        EntryWriter writer(m_destination);
        std::uint64_t read = 0;
        for (std::uint64_t mine = m_next++; mine <= m_entryCount; mine = m_next++) {
            archive_entry *entry = nullptr;
            for (; read <= mine; ++read) {
                entry = reader.NextEntry();
                if (!entry != (read == m_entryCount)) {
                    throw Failure("is damaged: its number of entries is wrong");
                }
            }
            if (entry) {
                writer.Write(reader, entry);
            }
        }
    }

    const InputFile &m_file;
    const std::uint64_t m_entryCount;
    Destination &m_destination;
    Progress &m_progress;
    std::atomic<std::uint64_t> m_next{0};
    std::mutex m_mutex;
    std::exception_ptr m_failure;
};

} // namespace

void UnpackZip(const InputFile &file, std::uint64_t entryCount, Destination &destination,
               Progress &progress)
{
    ZipWork work(file, entryCount, destination, progress);
    const auto workers = static_cast<std::size_t>(
        std::min<std::uint64_t>(std::max(std::thread::hardware_concurrency(), 1U), entryCount));
    std::vector<std::thread> others;
    try {
        while (others.size() + 1 < workers) {
            others.emplace_back(&ZipWork::Run, &work);
        }
    } catch (const std::system_error &) {
        // Fewer workers do it as well.
    }
    work.Run();
    for (std::thread &other : others) {
        other.join();
    }
    work.ThrowFailure();
}
