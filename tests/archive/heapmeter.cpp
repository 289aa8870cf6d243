#include "tests/archive/heapmeter.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <malloc.h>

namespace {

std::atomic<std::size_t> used{0};
std::atomic<std::size_t> most{0};

} // namespace

#if defined(__SANITIZE_ADDRESS__)

bool heapmeter::isCounting()
{
    return false;
}

#else

bool heapmeter::isCounting()
{
    return true;
}

// the C library's own names for its functions
extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *block);

static void *counted(void *block)
{
    if (block) {
        used += malloc_usable_size(block) + sizeof(std::size_t);
        if (used > most)
            most = used.load();
    }
    return block;
}

static void uncount(void *block)
{
    if (block)
        used -= malloc_usable_size(block) + sizeof(std::size_t);
}

void *malloc(std::size_t size)
{
    return counted(__libc_malloc(size));
}

void *calloc(std::size_t count, std::size_t size)
{
    return counted(__libc_calloc(count, size));
}

void *realloc(void *block, std::size_t size)
{
    uncount(block);
    void *moved = __libc_realloc(block, size);
    if (!moved && size != 0) // the old block still stands
        counted(block);
    return counted(moved);
}

void *memalign(std::size_t alignment, std::size_t size)
{
    return counted(__libc_memalign(alignment, size));
}

void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size)
{
    *block = memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}

void free(void *block)
{
    uncount(block);
    __libc_free(block);
}
}

#endif

std::size_t heapmeter::inUse()
{
    return used;
}

std::size_t heapmeter::peak()
{
    return most;
}

void heapmeter::restart()
{
    most = used.load();
}
