#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class Frontend;

// What a person typed, checked before it becomes a record for the server.
// Nothing on the wire is escaped, so codes 0 to 4 in a field would cut or add
// fields that readers obey; the code page loses what it lacks; one frame
// holds what it holds. The forms tell the person of each, never the wire.
namespace OutgoingText {

// The entries of a comma-separated list: blanks around an entry are no part of
// a name, and an entry left empty names nobody.
QStringList Entries(const QString &list);

// Codes 0 to 4: the end of a command, its data and its fields and records.
bool HasSeparators(const QString &text);
QString WithoutSeparators(QString text);
// The distinct characters of the texts that Windows-1252 lacks, in order of
// first appearance; a surrogate pair stays whole.
QString Unsupported(const QStringList &texts);
// How many characters a payload is over one frame, with the blank and the user
// ID that the link adds behind it; 0 when it fits.
qsizetype Excess(const QString &payload, const QString &userID);

// Takes the separators out of each field, writing the cleaned text back, and
// tells the person so: the form then stays open over what is left. Then asks
// whether characters the server will see as "?" may go. True when the record
// may be built from the fields as they now stand.
bool Admit(Frontend &frontend, const QList<QString *> &fields);
// What became of a record handed to the link.
struct Sending
{
    enum Result { Sent, TooLong, NotSent };
    Result result = Sent;
    // Characters over one frame, for TooLong.
    qsizetype excess = 0;
};

// Sends a payload unless it is over one frame; NotSent when the link refused it.
Sending Send(const QString &payload, const QString &userID,
             const std::function<bool(const QString &)> &sendData);
// Shows the box of a record that did not leave; true when it left.
bool Told(Frontend &frontend, const Sending &sending);

// The box of a record that cannot go in one frame.
void TellTooLong(Frontend &frontend, qsizetype excess);
// The box of a record that did not leave: no link to the server.
void TellNotSent(Frontend &frontend);

} // namespace OutgoingText
