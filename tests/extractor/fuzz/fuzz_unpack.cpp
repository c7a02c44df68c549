#include "base/failure.h"
#include "base/unique_fd.h"
#include "mend_checksums.h"
#include "remove/remove_tree.h"
#include "unpack.h"

#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

constexpr rlim_t kLargestFile = 1 << 22; // so that a bomb fails soon

void Require(bool holds, const char *what)
{
    if (!holds) {
        std::perror(what);
        std::abort();
    }
}

/// A folder "target" to unpack to, beside an "outside" that nothing may ever touch.
class Scratch
{
public:
    Scratch()
    {
        std::string path = "/dev/shm/zeft-fuzz-XXXXXX";
        Require(::mkdtemp(path.data()) != nullptr, "scratch folder");
        m_path = path;
        m_base = UniqueFd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        Require(::mkdirat(m_base.Get(), "outside", S_IRWXU) == 0, "outside");
        Require(::fstatat(m_base.Get(), "outside", &m_outside, 0) == 0, "outside");
    }
    ~Scratch()
    {
        for (const char *const name : {"outside", "target"})
            RemoveTree(m_base.Get(), name);
        ::rmdir(m_path.c_str());
    }

    std::string Target() const { return m_path + "/target"; }

    /// Removes the target, and makes sure that there was nothing else to remove.
    void Check()
    {
        RemoveTree(m_base.Get(), "target");
        struct stat base = {};
        struct stat outside = {};
        Require(::fstat(m_base.Get(), &base) == 0 && base.st_nlink == 3, "beside the target");
        Require(::fstatat(m_base.Get(), "outside", &outside, 0) == 0
                    && outside.st_mtim.tv_nsec == m_outside.st_mtim.tv_nsec
                    && outside.st_mode == m_outside.st_mode,
                "outside the target");
    }

private:
    std::string m_path;
    UniqueFd m_base;
    struct stat m_outside = {};
};

void SetUp()
{
    // The percent lines would drown the fuzzer's own.
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(null, STDOUT_FILENO);
    ::close(null);
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {kLargestFile, kLargestFile};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::setlocale(LC_CTYPE, "C.UTF-8");
}

} // namespace

/// What a damaged header asks for is refused here as the program's limit on memory refuses it.
extern "C" const char *__asan_default_options() // NOLINT: the sanitizer's name
{
    return "allocator_may_return_null=1:max_allocation_size_mb=4095";
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t room);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size,
                                               std::size_t room, unsigned chance)
{
    constexpr unsigned kDamaged = 8; // one in so many is left with a wrong checksum
    const std::size_t mutated = LLVMFuzzerMutate(data, size, room);
    if (chance % kDamaged != 0)
        MendChecksums(data, mutated);
    return mutated;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    [[maybe_unused]] static const bool is_set_up = (SetUp(), true);
    static Scratch scratch;

    const UniqueFd archive(::memfd_create("archive", MFD_CLOEXEC));
    Require(::write(archive.Get(), data, size) == static_cast<ssize_t>(size), "archive");
    try {
        Progress progress;
        Unpack("/proc/self/fd/" + std::to_string(archive.Get()), scratch.Target(), Purpose::Trial,
               progress);
    } catch (const Failure &) {
        // Most inputs are no archives.
    }
    scratch.Check();
    return 0;
}
