// One audio frame as an AudioReceiver delivers it.
// Thread contract: an implicitly shared value; copies may go to any thread.
#pragma once

#include <miscUtils/NoTimeValue.h>

#include <QByteArray>

#include <cstdint>

namespace smt2 {

struct AudioFrame
{
    std::int64_t pts = miscUtils::NoTimeValue;
    std::int64_t dts = miscUtils::NoTimeValue;
    QByteArray data; // the bytes of one send, unchanged

    bool hasPts() const { return pts != miscUtils::NoTimeValue; }
    bool hasDts() const { return dts != miscUtils::NoTimeValue; }
};

} // namespace smt2
