#include "RecordArena.h"

#include <sxmlib.h>

#include <climits>
#include <cstring>
#include <new>

namespace sxmlib {

RecordArena::~RecordArena()
{
    for (void* block : m_blocks)
        sxm_free(block);
}

const char* RecordArena::text(std::string_view text)
{
    char* copy = static_cast<char*>(zeroed(text.size() + 1, 1));
    if (!text.empty())
        std::memcpy(copy, text.data(), text.size());
    return copy;
}

void* RecordArena::zeroed(std::size_t count, std::size_t size)
{
    // sxm_malloc takes an unsigned size: anything larger cannot be asked for.
    if (size != 0 && count > UINT_MAX / size)
        throw std::bad_alloc();
    const unsigned bytes = static_cast<unsigned>(count * size);
    m_blocks.reserve(m_blocks.size() + 1);
    void* block = sxm_malloc(bytes);
    if (!block)
        throw std::bad_alloc();
    std::memset(block, 0, bytes);
    m_blocks.push_back(block);
    return block;
}

} // namespace sxmlib
