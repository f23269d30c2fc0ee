#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoRoles.h"

/// The answer to a get-rows request: a page of rows, or a redirect to another node whose rows
/// the host reads instead.
class MivoRowsRoles : public MivoHash
{
    MIVO_HASH_VALUE(MivoRowsRoles)
    MIVO_FIELD(MivoList<MivoRoles>, rows, Rows)
    /// Index of the first row in the whole list.
    MIVO_FIELD(int, offset, Offset)
    /// Number of rows of the whole list; -1 when the node does not announce it.
    MIVO_FIELD(int, total, Total)
    MIVO_FIELD(CMPath, rowsRedirect, RowsRedirect)

    bool isRedirect() const { return hasEntry(RowsRedirect()); }
};

Q_DECLARE_METATYPE(MivoRowsRoles)
