// String-keyed hash of variants, used for format parameters and other loose settings.
// Thread contract: implicitly shared value type; a copy per thread is safe.
#pragma once

#include <QVariantHash>

namespace miscUtils {

using VariantHash = QVariantHash;

} // namespace miscUtils
