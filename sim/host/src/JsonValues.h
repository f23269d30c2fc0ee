#pragma once
// Thread contract: pure functions; safe from any thread.
//
// Host values (QVariant trees of hashes, lists and scalars) to and from JSON, for the settings
// file, `set PATH ROLE JSON` and the --json output.

#include <QJsonValue>
#include <QVariant>

namespace jsonvalues {

/// A JSON form of `value`: hashes and maps become objects, lists arrays, scalars themselves;
/// values of other types their text (or null when they have none).
QJsonValue toJson(const QVariant& value);

/// The inverse for values written by toJson: objects become QVariantHash (the host's hash type,
/// so that nested values read back as they were written), integral numbers int or qlonglong.
QVariant fromJson(const QJsonValue& value);

/// Parses one JSON text of any kind (also a bare string, number or literal). False, with `error`
/// set, when it is not JSON.
bool parse(const QString& text, QVariant* value, QString* error);

/// One line of compact JSON.
QString compact(const QJsonValue& value);

} // namespace jsonvalues
