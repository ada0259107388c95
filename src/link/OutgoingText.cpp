#include "link/OutgoingText.h"

#include "core/Frontend.h"
#include "core/StringTable.h"
#include "link/Cp1252.h"
#include "link/Encryption.h"

namespace {

// The numbers of the boxes' texts in the string table.
enum : int {
    SeparatorsText = 1180,
    SeparatorsTitle,
    UnsupportedText,
    UnsupportedTitle,
    TooLongText,
    TooLongTitle,
    NotSentText,
    NotSentTitle,
};

bool isSeparator(QChar c)
{
    return c.unicode() <= 4;
}

} // namespace

QStringList OutgoingText::Entries(const QString &list)
{
    QStringList entries;
    for (const QString &entry : list.split(QLatin1Char(','))) {
        if (const QString trimmed = entry.trimmed(); !trimmed.isEmpty())
            entries << trimmed;
    }
    return entries;
}

bool OutgoingText::HasSeparators(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(), isSeparator);
}

QString OutgoingText::WithoutSeparators(QString text)
{
    text.removeIf(isSeparator);
    return text;
}

QString OutgoingText::Unsupported(const QStringList &texts)
{
    QString found;
    for (const QString &text : texts) {
        for (qsizetype i = 0; i < text.size(); ++i) {
            const QChar c = text.at(i);
            const bool pair = c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
            const QString character = pair ? text.mid(i, 2) : QString(c);
            if (pair)
                ++i;
            if ((pair || Cp1252::byteOf(c.unicode()) < 0) && !found.contains(character))
                found += character;
        }
    }
    return found;
}

qsizetype OutgoingText::Excess(const QString &payload, const QString &userID)
{
    // The header counts bytes, and a surrogate pair goes out as one "?".
    const qsizetype bytes = Cp1252::fromUnicode(payload).size() + 1 + userID.size();
    return qMax<qsizetype>(0, bytes - Encryption::MaxPayload);
}

bool OutgoingText::Admit(Frontend &frontend, const QList<QString *> &fields)
{
    bool stripped = false;
    QStringList texts;
    for (QString *field : fields) {
        if (HasSeparators(*field)) {
            *field = WithoutSeparators(*field);
            stripped = true;
        }
        texts << *field;
    }
    if (stripped) {
        frontend.MessageBoxShow(ResString(SeparatorsText), ResString(SeparatorsTitle), IconExclamation,
                                ButtonsOk);
        return false;
    }
    const QString unsupported = Unsupported(texts);
    if (unsupported.isEmpty())
        return true;
    QStringList shown;
    for (qsizetype i = 0; i < unsupported.size(); ++i) {
        const bool pair = unsupported.at(i).isHighSurrogate() && i + 1 < unsupported.size();
        shown << unsupported.mid(i, pair ? 2 : 1);
        if (pair)
            ++i;
    }
    return frontend.MessageBoxShow(ResString(UnsupportedText).arg(shown.join(QLatin1Char(' '))),
                                   ResString(UnsupportedTitle), IconQuestion, ButtonsYesNo) == ResultYes;
}

void OutgoingText::TellTooLong(Frontend &frontend, qsizetype excess)
{
    frontend.MessageBoxShow(ResString(TooLongText).arg(excess), ResString(TooLongTitle), IconExclamation,
                            ButtonsOk);
}

void OutgoingText::TellNotSent(Frontend &frontend)
{
    frontend.MessageBoxShow(ResString(NotSentText), ResString(NotSentTitle), IconExclamation, ButtonsOk);
}

OutgoingText::Sending OutgoingText::Send(const QString &payload, const QString &userID,
                                         const std::function<bool(const QString &)> &sendData)
{
    if (const qsizetype excess = Excess(payload, userID))
        return {Sending::TooLong, excess};
    return {sendData(payload) ? Sending::Sent : Sending::NotSent, 0};
}

bool OutgoingText::Told(Frontend &frontend, const Sending &sending)
{
    if (sending.result == Sending::TooLong)
        TellTooLong(frontend, sending.excess);
    else if (sending.result == Sending::NotSent)
        TellNotSent(frontend);
    return sending.result == Sending::Sent;
}
