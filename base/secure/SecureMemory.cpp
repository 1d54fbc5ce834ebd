#include "base/secure/SecureMemory.h"

#include <atomic>
#include <cstring>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace secure {

namespace {

// Only tests set it; relaxed is enough, the program is single-threaded.
std::atomic<ReleaseObserver> g_releaseObserver{nullptr};

std::size_t PageSize() noexcept
{
    static const std::size_t size = [] {
        long value = sysconf(_SC_PAGESIZE);
        return value > 0 ? static_cast<std::size_t>(value) : std::size_t{4096};
    }();
    return size;
}

} // namespace

std::size_t BlockSize(std::size_t size) noexcept
{
    const std::size_t page = PageSize();
    if (size == 0) {
        return page;
    }
    if (size > std::numeric_limits<std::size_t>::max() - (page - 1)) {
        return 0; // cannot be represented: TryAllocate refuses it
    }
    return (size + page - 1) / page * page;
}

void* TryAllocate(std::size_t size) noexcept
{
    const std::size_t blockSize = BlockSize(size);
    if (blockSize == 0) {
        return nullptr;
    }
    void* block = mmap(nullptr, blockSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) {
        return nullptr;
    }
    // Both are best effort: without the lock (RLIMIT_MEMLOCK) the block may be
    // swapped, but it is still wiped on release.
    (void)mlock(block, blockSize);
    (void)madvise(block, blockSize, MADV_DONTDUMP);
    return block;
}

void* Allocate(std::size_t size)
{
    void* block = TryAllocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void Release(void* block, std::size_t size) noexcept
{
    if (block == nullptr) {
        return;
    }
    const std::size_t blockSize = BlockSize(size);
    Wipe(block, blockSize);
    if (ReleaseObserver observer = g_releaseObserver.load(std::memory_order_relaxed)) {
        observer(static_cast<const unsigned char*>(block), blockSize);
    }
    (void)munlock(block, blockSize);
    (void)munmap(block, blockSize);
}

void Wipe(void* data, std::size_t size) noexcept
{
    if (data != nullptr && size != 0) {
        explicit_bzero(data, size);
    }
}

void DisableCoreDumps() noexcept
{
    struct rlimit none = {0, 0};
    (void)setrlimit(RLIMIT_CORE, &none);
    (void)prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

void SetReleaseObserverForTesting(ReleaseObserver observer) noexcept
{
    g_releaseObserver.store(observer, std::memory_order_relaxed);
}

} // namespace secure
