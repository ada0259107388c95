#pragma once

#include <QString>

// The user's full name from the system's directory: the first field of the
// GECOS entry of the login, which a directory joined through the name service
// fills from its own records. Empty when there is none.
QString GetUserFullName(const QString &userID);
