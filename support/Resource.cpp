// Catalogue texts read through a caller's resource descriptor: the descriptor's
// init function opens the catalogue once, lookups read set 1 of it.

#include "torvik.h"

#include <climits>
#include <cstring>
#include <nl_types.h>
#include <sched.h>

namespace {

// States of the once-control word.
constexpr long kOnceIdle = 0;
constexpr long kOnceRunning = 1;
constexpr long kOnceDone = 2;

constexpr int kTextSet = 1;

// Runs `init` exactly once per record, whichever thread comes first; the others
// wait until it has finished, so they see the catalogue it stored.
void runOnce(TSupportResourceCatalog* catalog)
{
    long state = __atomic_load_n(&catalog->once, __ATOMIC_ACQUIRE);
    if (state == kOnceDone)
        return;
    long expected = kOnceIdle;
    if (__atomic_compare_exchange_n(&catalog->once, &expected, kOnceRunning, false,
                                    __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) {
        if (catalog->init != nullptr) {
            try {
                catalog->init();
            } catch (...) {
                // An init that throws leaves the catalogue as it found it.
            }
        }
        __atomic_store_n(&catalog->once, kOnceDone, __ATOMIC_RELEASE);
        return;
    }
    // Opening a catalogue takes microseconds: yielding is enough of a wait.
    while (__atomic_load_n(&catalog->once, __ATOMIC_ACQUIRE) != kOnceDone)
        sched_yield();
}

bool isOpen(const void* catalog)
{
    return catalog != nullptr && catalog != reinterpret_cast<const void*>(-1);
}

} // namespace

extern "C" unsigned int support_resource_string(const TSupportResource* handle, unsigned int id,
                                                char* buffer, size_t* length)
{
    if (handle == nullptr || handle->table == nullptr || handle->table->catalog == nullptr ||
        length == nullptr)
        return TORVIK_ERROR_INVALID_PARAMETER;
    TSupportResourceCatalog* catalog = handle->table->catalog;
    runOnce(catalog);

    void* descriptor = __atomic_load_n(&catalog->catalog, __ATOMIC_ACQUIRE);
    if (!isOpen(descriptor))
        return TORVIK_ERROR_FILE_NOT_FOUND;
    if (id > static_cast<unsigned int>(INT_MAX))
        return TORVIK_ERROR_NOT_FOUND;

    // catgets returns its default argument for a missing text; a pointer no
    // catalogue can hold tells that apart from any stored text, even an empty one.
    static const char missing[] = "";
    const char* text =
        catgets(static_cast<nl_catd>(descriptor), kTextSet, static_cast<int>(id), missing);
    if (text == nullptr || text == missing)
        return TORVIK_ERROR_NOT_FOUND;

    const size_t size = std::strlen(text);
    if (buffer == nullptr) {
        *length = size;
        return 0;
    }
    if (size > *length) {
        *length = size;
        return TORVIK_ERROR_MORE_DATA;
    }
    std::memcpy(buffer, text, size + 1);
    *length = size;
    return 0;
}
