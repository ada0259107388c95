#pragma once

#include <QByteArray>
#include <QString>

// Payload text on the wire is Windows-1252, one byte for each character both
// ways. The five bytes that the code page leaves undefined stand for the C1
// control of the same number, so that every byte survives a round trip.
class Cp1252
{
public:
    static QString toUnicode(const char *bytes, qsizetype size);
    static QString toUnicode(const QByteArray &bytes) { return toUnicode(bytes.constData(), bytes.size()); }

    // A character that the code page lacks becomes "?", one for a surrogate
    // pair as for any other character: a text never fails to go out.
    static QByteArray fromUnicode(const QString &text);

    // The byte of one character, or -1 when it has none.
    static int byteOf(char16_t character);
};
