#include "unpack_zip.h"

#include "archive_reader.h"
#include "entry_writer.h"
#include "failure.h"
#include "zip_directory.h"

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
    ZipWork(const InputFile &file, const ZipDirectory &directory, Destination &destination,
            Progress &progress)
        : m_file(file)
        , m_directory(directory)
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
            m_next = m_directory.Size(); // the others stop after their entry
        }
    }

    void ThrowFailure()
    {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
    }

private:
    void TakeEntries()
    {
        ArchiveReader reader(m_file, ArchiveReader::Format::Zip, m_progress);
        EntryWriter writer(m_destination);
        std::size_t read = 0;
        for (std::size_t mine = m_next++; mine < m_directory.Size(); mine = m_next++) {
            archive_entry *entry = nullptr;
            for (; read <= mine; ++read) {
                entry = reader.NextEntry();
                if (!entry) {
                    throw Failure("is damaged: entries are missing");
                }
            }
            m_directory.CheckEntry(mine);
            if (const char *const target = archive_entry_symlink(entry)) {
                m_directory.CheckLink(mine, target);
            }
            writer.Write(reader, entry);
        }
    }

    const InputFile &m_file;
    const ZipDirectory &m_directory;
    Destination &m_destination;
    Progress &m_progress;
    std::atomic<std::size_t> m_next{0};
    std::mutex m_mutex;
    std::exception_ptr m_failure;
};

} // namespace

void UnpackZip(const InputFile &file, Destination &destination, Progress &progress)
{
    const ZipDirectory directory(file);
    ZipWork work(file, directory, destination, progress);
    const std::size_t workers =
        std::min<std::size_t>(std::max(std::thread::hardware_concurrency(), 1U), directory.Size());
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
