#pragma once
// Thread contract: the benchmark's main thread only.
//
// The synthetic line-up the module's benchmarks share, as the library lists it.

#include <mivosdk/MivoSiriusContent.h>

#include <QList>

namespace bench {

/// How a channel of the synthetic line-up is numbered: in line-up order, or scattered with
/// repeats (the order the number sort then has to establish).
enum class Numbering
{
    InOrder,
    Scattered,
};

/// `channels` live channels over `genres` genres, every fifth listed under a second genre too (as
/// the service does), each with two logos; ends with the empty end-of-list record.
QList<MivoSiriusContent> lineUp(int channels, int genres, Numbering numbering);

} // namespace bench
