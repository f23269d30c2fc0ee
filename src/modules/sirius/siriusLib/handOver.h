#pragma once
// Thread contract: safe from any thread; compiles to plain calls outside ThreadSanitizer builds.

#if defined(__SANITIZE_THREAD__)
#define SIRIUS_TSAN_ANNOTATIONS 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define SIRIUS_TSAN_ANNOTATIONS 1
#endif
#endif

#ifdef SIRIUS_TSAN_ANNOTATIONS
#include <sanitizer/tsan_interface.h>
// ThreadSanitizer's dynamic annotations; its runtime exports them, no header declares them.
extern "C" void AnnotateIgnoreWritesBegin(const char* file, int line);
extern "C" void AnnotateIgnoreWritesEnd(const char* file, int line);
#endif

namespace sirius {

/// One direction in which Qt's event queue carries values between threads: post() emits a
/// queued call or signal, deliver() runs its slot on the receiving thread. Qt's queue orders
/// everything written before the post before everything the slot reads, but Debian's Qt is not
/// instrumented, so ThreadSanitizer cannot see that ordering. In its builds these tell it:
/// - post() releases the channel, and deliver() acquires it before the slot runs;
/// - Qt copies the arguments inside the emission, after the release, in copy helpers that the
///   receiver's reads would race with on paper; the emission is not recorded, except for a slot
///   that Qt runs directly inside it, which deliver() records again.
/// In a product build both only call what they are given: no lock, no cost.
///
/// The channel is coarse: deliver() orders after every post() made so far, not only the one whose
/// event it delivers. Keep one channel per direction so that it never orders two threads that the
/// queue does not.
class HandOverChannel
{
public:
    template <class Emission>
    void post(Emission&& emission) const
    {
#ifdef SIRIUS_TSAN_ANNOTATIONS
        __tsan_release(const_cast<HandOverChannel*>(this));
        ++m_unrecorded;
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
        struct Recorded
        {
            ~Recorded()
            {
                AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
                --m_unrecorded;
            }
        } recordedAgain;
#endif
        emission();
    }

    template <class Slot>
    void deliver(Slot&& slot) const
    {
#ifdef SIRIUS_TSAN_ANNOTATIONS
        __tsan_acquire(const_cast<HandOverChannel*>(this));
        // A direct delivery runs inside the emissions that posted it on this thread.
        struct Lifted
        {
            const int depth = m_unrecorded;
            Lifted()
            {
                for (int i = 0; i < depth; ++i)
                    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
                m_unrecorded = 0;
            }
            ~Lifted()
            {
                m_unrecorded = depth;
                for (int i = 0; i < depth; ++i)
                    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
            }
        } lifted;
#endif
        slot();
    }

private:
#ifdef SIRIUS_TSAN_ANNOTATIONS
    /// Emissions on this thread whose accesses are not recorded right now.
    static inline thread_local int m_unrecorded = 0;
#endif
};

} // namespace sirius
