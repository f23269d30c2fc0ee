#pragma once
// Thread contract: pure functions; safe from any thread.

#include <QString>
#include <QStringList>

/// Where mivo-host looks for the default module (libcb_sirius.so), in this order:
/// $MIVO_HOST_MODULE; next to the executable; ../lib/mivo-host/ beside it (an installed tree);
/// the path where this build tree builds the cb_sirius module.
QStringList defaultModuleCandidates();

/// The first default candidate that exists; empty when there is none.
QString findDefaultModule();
