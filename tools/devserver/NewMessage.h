#pragma once

#include <QString>

class DVMessage;
class QDateTime;

// Records that the server writes itself: the demo set and what the control
// command line injects.
namespace NewMessage {

// A live message of the given level from `from` to `target` ("" for everyone),
// starting now and expiring after `lifetimeDays`.
DVMessage compose(const QString &id, const QString &from, const QString &target, const QString &level,
                  const QString &text, const QDateTime &now, int lifetimeDays);

} // namespace NewMessage
