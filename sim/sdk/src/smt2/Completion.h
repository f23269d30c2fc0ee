// The producing end of a Future<ErrorID> that can never be left broken.
// Thread contract: one owner at a time; completing it runs continuations on the calling thread.
#pragma once

#include "smt2/ErrorID.h"
#include "smt2/Future.h"

#include <optional>
#include <utility>

namespace smt2::detail {

// A dropped Completion (a task discarded by a stopping loop, a queue torn down) completes with
// Cancelled, so callers always get an ErrorID and never a broken_promise exception.
class Completion
{
public:
    Completion() = default;
    static Completion make(Future<ErrorID>* future)
    {
        Completion completion;
        completion.m_promise.emplace();
        *future = completion.m_promise->get_future();
        return completion;
    }
    Completion(Completion&& other) noexcept
        : m_promise(std::exchange(other.m_promise, std::nullopt))
    {}
    Completion& operator=(Completion&& other) noexcept
    {
        if (this != &other) {
            complete(ErrorID::Cancelled);
            m_promise = std::exchange(other.m_promise, std::nullopt);
        }
        return *this;
    }
    Completion(const Completion&) = delete;
    Completion& operator=(const Completion&) = delete;
    ~Completion() { complete(ErrorID::Cancelled); }

    explicit operator bool() const { return m_promise.has_value(); }

    // Completes once; later calls do nothing.
    void complete(ErrorID result) noexcept
    {
        if (!m_promise)
            return;
        cf::promise<ErrorID> promise = std::move(*m_promise);
        m_promise.reset();
        promise.set_value(result);
    }

private:
    std::optional<cf::promise<ErrorID>> m_promise;
};

} // namespace smt2::detail
