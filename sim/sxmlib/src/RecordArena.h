#pragma once
// Thread contract: one thread at a time (an arena belongs to the call that fills a record).
//
// The memory of records that the library hands to the integrator's callbacks: texts and arrays
// allocated through the integrator's sxm_malloc and released with sxm_free when the arena goes,
// i.e. after the callback that carries them returned.

#include <cstddef>
#include <string_view>
#include <type_traits>
#include <vector>

namespace sxmlib {

class RecordArena
{
public:
    RecordArena() = default;
    ~RecordArena();
    RecordArena(const RecordArena&) = delete;
    RecordArena& operator=(const RecordArena&) = delete;

    /// A zero-terminated copy of `text`. Throws std::bad_alloc when sxm_malloc fails.
    const char* text(std::string_view text);

    /// `count` zero-filled elements; nullptr for 0. Throws std::bad_alloc when sxm_malloc fails.
    template <class T>
    T* array(std::size_t count)
    {
        static_assert(std::is_trivial_v<T>, "records are plain C structures");
        if (count == 0)
            return nullptr;
        return static_cast<T*>(zeroed(count, sizeof(T)));
    }

private:
    void* zeroed(std::size_t count, std::size_t size);

    std::vector<void*> m_blocks;
};

} // namespace sxmlib
