#include "TuneRecord.h"

#include <algorithm>

namespace sxm::service {

void TuneRecord::tuned(const std::string& session, const Stream& stream, std::int64_t startSegment,
                       std::int64_t startOffsetMs)
{
    Tune tune;
    tune.session = session;
    tune.kind = stream.kind;
    tune.id = stream.id;
    tune.startSegment = startSegment;
    tune.startOffsetMs = startOffsetMs;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_last = std::move(tune);
}

void TuneRecord::served(const std::string& session, const Stream& stream, int bitrate,
                        std::int64_t segment)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_last || m_last->session != session || m_last->kind != stream.kind ||
        m_last->id != stream.id || segment < m_last->startSegment) {
        return;
    }
    m_last->lastServedSegment = std::max(m_last->lastServedSegment.value_or(segment), segment);
    m_last->bitrate = bitrate;
}

std::optional<TuneRecord::Tune> TuneRecord::last() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_last;
}

} // namespace sxm::service
