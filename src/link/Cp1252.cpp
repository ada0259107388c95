#include "link/Cp1252.h"

#include <array>
#include <cstring>

namespace {

// 0x80 to 0x9F are the only bytes that differ from Latin-1.
constexpr std::array<char16_t, 32> highControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, // 0x80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F, // 0x88
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, // 0x90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178, // 0x98
};

constexpr std::array<char16_t, 256> makeTable()
{
    std::array<char16_t, 256> table{};
    for (int byte = 0; byte < 256; ++byte)
        table[byte] = char16_t(byte);
    for (int i = 0; i < 32; ++i)
        table[0x80 + i] = highControls[i];
    return table;
}

constexpr std::array<char16_t, 256> toCharacter = makeTable();

// The byte of each character below U+0100, -1 where Latin-1 and the code page part ways.
constexpr std::array<qint16, 256> makeLatin1Bytes()
{
    std::array<qint16, 256> bytes{};
    for (int c = 0; c < 256; ++c)
        bytes[c] = toCharacter[c] == c ? qint16(c) : qint16(-1);
    return bytes;
}

constexpr std::array<qint16, 256> latin1Bytes = makeLatin1Bytes();

} // namespace

QString Cp1252::toUnicode(const char *bytes, qsizetype size)
{
    // Latin-1 widening is vectorised; only 0x80 to 0x9F need the table after it.
    QString text = QString::fromLatin1(bytes, size);
    const auto *in = reinterpret_cast<const unsigned char *>(bytes);
    unsigned char differs = 0;
    for (qsizetype i = 0; i < size; ++i)
        differs |= static_cast<unsigned char>((in[i] & 0xE0) == 0x80);
    if (!differs)
        return text;
    char16_t *out = reinterpret_cast<char16_t *>(text.data());
    for (qsizetype i = 0; i < size; ++i)
        if ((in[i] & 0xE0) == 0x80)
            out[i] = toCharacter[in[i]];
    return text;
}

int Cp1252::byteOf(char16_t character)
{
    if (character < 0x100)
        return latin1Bytes[character];
    for (int i = 0; i < 32; ++i) {
        if (highControls[i] == character)
            return 0x80 + i;
    }
    return -1;
}

QByteArray Cp1252::fromUnicode(const QString &text)
{
    const qsizetype size = text.size();
    const char16_t *characters = reinterpret_cast<const char16_t *>(text.constData());
    // ASCII is the same in both and goes through the vectorised narrowing; the
    // test for it looks at four characters a step.
    quint64 bits = 0;
    qsizetype at = 0;
    for (; at + 4 <= size; at += 4) {
        quint64 four;
        std::memcpy(&four, characters + at, sizeof four);
        bits |= four;
    }
    for (; at < size; ++at)
        bits |= characters[at];
    if ((bits & 0xFF80FF80FF80FF80ULL) == 0)
        return text.toLatin1();

    QByteArray out(size, Qt::Uninitialized);
    char *bytes = out.data();
    qsizetype written = 0;
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t character = characters[i];
        int byte = character < 0x100 ? latin1Bytes[character] : byteOf(character);
        if (byte < 0) {
            byte = '?';
            // Both halves of a pair are one character.
            if (QChar::isHighSurrogate(character) && i + 1 < size && QChar::isLowSurrogate(characters[i + 1]))
                ++i;
        }
        bytes[written++] = char(byte);
    }
    out.truncate(written);
    return out;
}
