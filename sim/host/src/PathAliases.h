#pragma once
// Thread contract: pure functions; safe from any thread.

#include <mivosdk/CMPath.h>

#include <QList>
#include <QPair>

/// The aliases a user may type for the well-known paths (browse, account, playlogic, golive,
/// favorite, clearrecents), with their paths.
QList<QPair<QString, CMPath>> pathAliases();

/// `text` as a path: an alias, or an encoded path ("/..."). False with `error` set otherwise.
bool resolvePath(const QString& text, CMPath* path, QString* error);
