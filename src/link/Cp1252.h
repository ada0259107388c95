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

    // False when a character has no byte in the code page; out is then empty.
    static bool fromUnicode(const QString &text, QByteArray &out);

    // The byte of one character, or -1 when it has none.
    static int byteOf(char16_t character);
};
