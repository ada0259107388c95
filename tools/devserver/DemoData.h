#pragma once

#include <QString>

class QDateTime;
class ServerState;

// A small data set for a person trying the client: a welcome message, a
// message due a minute later, and a package whose document lies beside the state.
namespace DemoData {

// False with the reason when the document cannot be written.
bool seed(ServerState &state, const QString &owner, const QDateTime &now, QString *error);

} // namespace DemoData
