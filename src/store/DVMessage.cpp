#include "store/DVMessage.h"

#include "core/Clock.h"
#include "store/MessageCodes.h"

#include <QLocale>
#include <QStringList>
#include <QStringTokenizer>

#include <cmath>
#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Fields end with Chr(4); a tag and its value are parted by Chr(3). Neither is
// escaped: a value holding one corrupts the record, as the server expects.
constexpr QChar fieldEnd(4);
constexpr QChar valueSeparator(3);

struct TextTag
{
    QLatin1String tag;
    QString DVMessage::*field;
};

const TextTag textTags[] = {
    {"MID"_L1, &DVMessage::MsgID},      {"RID"_L1, &DVMessage::RefID},   {"IID"_L1, &DVMessage::InitID},
    {"SUB"_L1, &DVMessage::Subject},    {"MSG"_L1, &DVMessage::Message}, {"LVL"_L1, &DVMessage::MsgLevel},
    {"ATT"_L1, &DVMessage::Attachment}, {"UID"_L1, &DVMessage::UserID},  {"USR"_L1, &DVMessage::UserName},
    {"MAC"_L1, &DVMessage::MachineID},  {"TGT"_L1, &DVMessage::Target},  {"AGN"_L1, &DVMessage::Agent},
};

struct DateTag
{
    QLatin1String tag;
    QDateTime DVMessage::*field;
};

const DateTag dateTags[] = {
    {"CRE"_L1, &DVMessage::CreationDate},
    {"MOD"_L1, &DVMessage::ModificationDate},
    {"SDT"_L1, &DVMessage::StartDate},
    {"EDT"_L1, &DVMessage::ExpirationDate},
};

bool isDecimal(const QString &text)
{
    qsizetype i = 0;
    if (i < text.size() && (text.at(i) == u'+' || text.at(i) == u'-'))
        ++i;
    bool digits = false;
    bool point = false;
    for (; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c >= u'0' && c <= u'9') {
            digits = true;
        } else if (c == u'.' && !point) {
            point = true;
        } else {
            return false;
        }
    }
    return digits;
}

// The numeric value of a field as a 16-bit integer, as the record has always
// read it (the 32-bit fields too). Blanks around the number are allowed and a
// fraction rounds half to even; anything else that is not a number, "12abc"
// included, counts as 0 rather than as its leading digits. A value beyond 16
// bits has no result, and the field keeps what it held.
std::optional<qint16> toInt16(const QString &text)
{
    const QString trimmed = text.trimmed();
    if (!isDecimal(trimmed))
        return 0;
    const double rounded = std::nearbyint(QLocale::c().toDouble(trimmed));
    if (rounded < std::numeric_limits<qint16>::min() || rounded > std::numeric_limits<qint16>::max())
        return std::nullopt;
    return qint16(rounded);
}

} // namespace

void DVMessage::ResetDefaultValues()
{
    // ModificationDate and ExpirationDate are left as they are, by design.
    MsgID.clear();
    RefID.clear();
    InitID.clear();
    Subject.clear();
    Message.clear();
    MsgLevel.clear();
    MsgDelivery = DeliveryImmediate;
    Attachment.clear();
    AllowReply = false;
    ReceiptRequired = true;
    CreationDate = Clock::now();
    StartDate = DateText::ZeroDate();
    DeleteAtExpiration = true;
    RepeatValue = 0;
    RepeatStep = RepeatDays;
    UserID.clear();
    UserName.clear();
    MachineID.clear();
    Target.clear();
    Status = StatusActive;
    Notify = false;
    ExactTime = false;
    MsgAction = ActionWaiting;
    NextRunDate = StartDate;
    Agent.clear();
}

void DVMessage::ToObject(const QString &text)
{
    ResetDefaultValues();
    // Cut into views rather than lists of strings: a record is parsed for
    // every message that arrives, and only values are copied.
    const QStringView whole(text);
    // Without a single terminator nothing is read, not even the fix-ups below.
    if (!whole.contains(fieldEnd))
        return;

    for (const QStringView field : QStringTokenizer(whole, fieldEnd)) {
        const qsizetype separator = field.indexOf(valueSeparator);
        const QStringView tag = separator < 0 ? field : field.left(separator);

        // Flags carry no value; RCP and DEL turn off what defaults to on.
        if (tag == "RLY"_L1) {
            AllowReply = true;
            continue;
        } else if (tag == "NOT"_L1) {
            Notify = true;
            continue;
        } else if (tag == "EXT"_L1) {
            ExactTime = true;
            continue;
        } else if (tag == "RCP"_L1) {
            ReceiptRequired = false;
            continue;
        } else if (tag == "DEL"_L1) {
            DeleteAtExpiration = false;
            continue;
        }

        // A valued tag without its separator is malformed and loses only itself;
        // text after a second separator is not part of the value.
        if (separator < 0)
            continue;
        QStringView valueView = field.mid(separator + 1);
        if (const qsizetype second = valueView.indexOf(valueSeparator); second >= 0)
            valueView = valueView.left(second);
        const QString value = valueView.toString();

        bool known = false;
        for (const TextTag &entry : textTags) {
            if (tag == entry.tag) {
                this->*entry.field = value;
                known = true;
                break;
            }
        }
        if (known)
            continue;

        for (const DateTag &entry : dateTags) {
            if (tag == entry.tag) {
                bool ok = false;
                const QDateTime date = DateText::TextToDate(value, &ok);
                if (ok)
                    this->*entry.field = date;
                known = true;
                break;
            }
        }
        if (known)
            continue;

        if (tag == "DLV"_L1 || tag == "RVL"_L1 || tag == "RST"_L1 || tag == "STA"_L1) {
            const std::optional<qint16> number = toInt16(value);
            if (!number)
                continue;
            if (tag == "DLV"_L1)
                MsgDelivery = *number;
            else if (tag == "RVL"_L1)
                RepeatValue = *number;
            else if (tag == "RST"_L1)
                RepeatStep = *number;
            else
                Status = *number;
        }
        // Any other tag is ignored.
    }

    if (DateText::IsZeroDate(ModificationDate))
        ModificationDate = CreationDate;
    if (DateText::IsZeroDate(NextRunDate))
        NextRunDate = StartDate;
}

QString DVMessage::ToString() const
{
    QString text;
    const auto field = [&text](QLatin1String tag, const QString &value) {
        text += tag % valueSeparator % value % fieldEnd;
    };
    const auto flag = [&text](QLatin1String tag) { text += tag % fieldEnd; };
    const auto date = [&field](QLatin1String tag, const QDateTime &value) {
        field(tag, DateText::DateToText(value));
    };

    field("MID"_L1, MsgID);
    if (!RefID.isEmpty())
        field("RID"_L1, RefID);
    if (!InitID.isEmpty())
        field("IID"_L1, InitID);
    field("SUB"_L1, Subject);
    if (!Message.isEmpty())
        field("MSG"_L1, Message);
    if (!MsgLevel.isEmpty())
        field("LVL"_L1, MsgLevel);
    if (MsgDelivery != 0)
        field("DLV"_L1, QString::number(MsgDelivery));
    if (!Attachment.isEmpty())
        field("ATT"_L1, Attachment);
    if (AllowReply)
        flag("RLY"_L1);
    if (!ReceiptRequired)
        flag("RCP"_L1);
    date("CRE"_L1, CreationDate);
    // Written only when it says more than the creation minute; the reader
    // takes CreationDate in its place otherwise.
    if (DateText::FormatDateMinute(ModificationDate) != DateText::FormatDateMinute(CreationDate))
        date("MOD"_L1, ModificationDate);
    date("SDT"_L1, StartDate);
    date("EDT"_L1, ExpirationDate);
    if (!DeleteAtExpiration)
        flag("DEL"_L1);
    if (RepeatValue > 0) {
        field("RVL"_L1, QString::number(RepeatValue));
        field("RST"_L1, QString::number(RepeatStep));
    }
    field("UID"_L1, UserID);
    field("USR"_L1, UserName);
    field("MAC"_L1, MachineID);
    if (!Target.isEmpty())
        field("TGT"_L1, Target);
    if (Status != StatusActive)
        field("STA"_L1, QString::number(Status));
    if (Notify)
        flag("NOT"_L1);
    if (ExactTime)
        flag("EXT"_L1);
    if (!Agent.isEmpty())
        field("AGN"_L1, Agent);
    return text;
}

bool DVMessage::IsEqual(const DVMessage &other) const
{
    return MsgID == other.MsgID && RefID == other.RefID && InitID == other.InitID &&
           Subject == other.Subject && Message == other.Message && MsgLevel == other.MsgLevel &&
           MsgDelivery == other.MsgDelivery && Attachment == other.Attachment &&
           AllowReply == other.AllowReply && ReceiptRequired == other.ReceiptRequired &&
           CreationDate == other.CreationDate && StartDate == other.StartDate &&
           DeleteAtExpiration == other.DeleteAtExpiration && RepeatValue == other.RepeatValue &&
           RepeatStep == other.RepeatStep && UserID == other.UserID && UserName == other.UserName &&
           MachineID == other.MachineID && Target == other.Target && Status == other.Status &&
           Notify == other.Notify && ExactTime == other.ExactTime && Agent == other.Agent;
}
