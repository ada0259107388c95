#pragma once

#include <QString>

// The banner's one line: a message's variables filled in for this user, this
// machine and this moment, its line breaks and tabs turned into blanks. The
// composer's sample shows the same line.
namespace BannerText {

QString Expand(const QString &inText);

} // namespace BannerText
