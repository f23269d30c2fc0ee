#pragma once
// Thread contract: pure conversions; the arena belongs to the calling thread.
//
// The service's JSON records as the library's C records. Texts and arrays live in the arena,
// which the caller keeps until the callback that carries the record has returned.

#include "JsonFields.h"
#include "RecordArena.h"

#include <sxmlib.h>

namespace sxmlib {

sxm_content toContent(const Json& item, RecordArena& arena);
sxm_trackMetadata toTrackMetadata(const Json& track, RecordArena& arena);
/// Timestamps stay in the service's seconds and the duration in its milliseconds, as the
/// integrator's play time arithmetic expects.
sxm_timebarData toTimebar(const Json& timebar, int irNavClass, RecordArena& arena);
/// The cut's time stays the service's program-data time (ms since the epoch); the service's
/// millisecond duration becomes seconds.
sxm_pdt_cuts toCut(const Json& cut, RecordArena& arena);

} // namespace sxmlib
