// Locked, wiped memory for secrets (passwords, PINs and every copy made of them).
//
// Every block is a private anonymous mapping of whole pages, so that locking and
// unlocking one block never touches another one's pages. A block is locked into
// RAM (mlock) and excluded from core dumps (MADV_DONTDUMP) when it is made, and
// it is overwritten with zeros (explicit_bzero) before it is unlocked and
// unmapped. Locking can fail when RLIMIT_MEMLOCK is exhausted; the block is
// still handed out and still wiped on release: a secret must never be refused
// a home, and never outlive its block.
//
// No GTK here: this part is used by the protocol code as much as by widgets.
#ifndef XVTUI_BASE_SECURE_SECUREMEMORY_H
#define XVTUI_BASE_SECURE_SECUREMEMORY_H

#include <cstddef>
#include <limits>
#include <new>

namespace secure {

// Returns a zero-filled block of at least `size` bytes (at least one page), or
// null when the system has no memory left. `size` 0 gives a one-page block.
void* TryAllocate(std::size_t size) noexcept;

// As TryAllocate, but throws std::bad_alloc instead of returning null.
void* Allocate(std::size_t size);

// Wipes and returns a block. `size` is the size it was asked for (it is rounded
// the same way as at allocation). A null `block` is ignored.
void Release(void* block, std::size_t size) noexcept;

// Overwrites `size` bytes with zeros in a way the compiler cannot drop.
void Wipe(void* data, std::size_t size) noexcept;

// The usable size of a block asked for with `size` bytes: the page multiple.
std::size_t BlockSize(std::size_t size) noexcept;

// Makes the process unfit for post-mortem reading of its memory: no core file
// (RLIMIT_CORE 0) and not dumpable (PR_SET_DUMPABLE 0, which also keeps other
// processes of the same user from attaching to it). Called before the first
// secret is read. Failures are ignored: there is nothing better to do.
void DisableCoreDumps() noexcept;

// Test hook: called on every release after the block has been wiped and before
// it is unmapped, with the whole block. Tests use it to check that nothing of a
// secret is left at release. Null (the default) disables it.
using ReleaseObserver = void (*)(const unsigned char* block, std::size_t size);
void SetReleaseObserverForTesting(ReleaseObserver observer) noexcept;

// Standard allocator on top of the blocks above, for containers that hold
// secrets (std::vector<char, secure::Allocator<char>>, ...).
template <class T>
struct Allocator {
    using value_type = T;

    Allocator() noexcept = default;
    template <class U>
    Allocator(const Allocator<U>&) noexcept {}

    T* allocate(std::size_t count)
    {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return static_cast<T*>(Allocate(count * sizeof(T)));
    }
    void deallocate(T* block, std::size_t count) noexcept { Release(block, count * sizeof(T)); }

    template <class U>
    bool operator==(const Allocator<U>&) const noexcept { return true; }
};

} // namespace secure

#endif
