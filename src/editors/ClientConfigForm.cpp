#include "editors/ClientConfigForm.h"

#include "core/Languages.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"

#include <QHash>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString Form = u"frmClientConfig:"_s;

// Spin limits: the banner's own ranges for the two speeds; any size a font dialog offers or a person types.
constexpr int SpeedMin = 1, SpeedMax = 100;
constexpr int StepsMin = 1, StepsMax = 20;
constexpr int FontSizeMin = 1, FontSizeMax = 999;

} // namespace

ClientConfigForm::ClientConfigForm(Context context)
    : m_ctx(std::move(context)), m_openingLanguage(m_ctx.options.Language)
{
    SetInfos();
}

const QList<PropertyRow> &ClientConfigForm::Rows()
{
    using K = PropertyKind;
    static const QList<PropertyRow> rows = {
        {u"BannerSection"_s, K::Section, {}, 800},
        {u"Font"_s, K::SectionButton, u"BannerSection"_s, 801},
        {u"FontName"_s, K::TextButton, u"Font"_s, 802, 0, 0, true},
        {u"FontSize"_s, K::Spin, u"Font"_s, 803, FontSizeMin, FontSizeMax},
        {u"FontBold"_s, K::Check, u"Font"_s, 804},
        {u"FontItalic"_s, K::Check, u"Font"_s, 805},
        {u"PositionSection"_s, K::Section, {}, 807},
        {u"PositionHorizontal"_s, K::List, u"PositionSection"_s, 808},
        {u"VerticalPosition"_s, K::List, u"PositionSection"_s, 809},
        {u"ScrollingSpeed"_s, K::Section, {}, 810},
        {u"RefreshRate"_s, K::Spin, u"ScrollingSpeed"_s, 811, SpeedMin, SpeedMax},
        {u"RefreshSteps"_s, K::Spin, u"ScrollingSpeed"_s, 812, StepsMin, StepsMax},
        {u"Miscellaneous"_s, K::Section, {}, 823},
        {u"Language"_s, K::List, u"Miscellaneous"_s, 824},
        {u"Trace"_s, K::Check, u"Miscellaneous"_s, 825},
    };
    return rows;
}

QString ClientConfigForm::Title()
{
    return ResString(549);
}

QStringList ClientConfigForm::ListItems(const QString &key)
{
    if (key == "PositionHorizontal"_L1)
        return {ResString(1453), ResString(1454), ResString(1455)};
    if (key == "VerticalPosition"_L1)
        return {ResString(1456), ResString(1457)};
    if (key == "Language"_L1)
        return Languages::names();
    return {};
}

QStringList ClientConfigForm::SettingsOf(const QString &key)
{
    static const QHash<QString, QStringList> settings = {
        {u"Font"_s, {u"FontName"_s, u"FontSize"_s, u"FontBold"_s, u"FontItalic"_s}},
        {u"FontName"_s, {u"FontName"_s}},
        {u"FontSize"_s, {u"FontSize"_s}},
        {u"FontBold"_s, {u"FontBold"_s}},
        {u"FontItalic"_s, {u"FontItalic"_s}},
        {u"PositionHorizontal"_s, {u"Horizontal position"_s}},
        {u"VerticalPosition"_s, {u"Vertical position"_s}},
        {u"RefreshRate"_s, {u"Speed"_s}},
        {u"RefreshSteps"_s, {u"Refresh Rate"_s}},
        {u"Language"_s, {u"Language"_s}},
        {u"Trace"_s, {u"Trace"_s}},
    };
    return settings.value(key);
}

QString ClientConfigForm::LockedHint()
{
    return ResString(826);
}

bool ClientConfigForm::isLocked(const QString &key) const
{
    const QStringList settings = SettingsOf(key);
    return !settings.isEmpty() &&
           std::all_of(settings.cbegin(), settings.cend(),
                       [this](const QString &setting) { return m_ctx.options.isLocked(setting); });
}

void ClientConfigForm::SetInfos()
{
    const Options &options = m_ctx.options;
    values.FontName = options.Font.Name;
    values.FontSize = options.Font.Size;
    values.FontBold = options.Font.Bold;
    values.FontItalic = options.Font.Italic;
    values.PositionHorizontal = options.HorizontalPosition;
    values.VerticalPosition = options.VerticalPosition;
    values.RefreshRate = options.RefreshRate;
    values.RefreshSteps = options.RefreshSteps;
    values.Language = options.Language;
    values.Trace = options.Trace;
}

QVariant ClientConfigForm::value(const QString &key) const
{
    if (key == "Font"_L1)
        return FontSummary();
    if (key == "FontName"_L1)
        return values.FontName;
    if (key == "FontSize"_L1)
        return qBound(FontSizeMin, values.FontSize, FontSizeMax);
    if (key == "FontBold"_L1)
        return values.FontBold;
    if (key == "FontItalic"_L1)
        return values.FontItalic;
    // A place the list does not offer shows no choice rather than a wrong one.
    if (key == "PositionHorizontal"_L1)
        return values.PositionHorizontal >= 0 && values.PositionHorizontal <= 2 ? values.PositionHorizontal
                                                                                : -1;
    if (key == "VerticalPosition"_L1)
        return values.VerticalPosition >= 0 && values.VerticalPosition <= 1 ? values.VerticalPosition : -1;
    if (key == "RefreshRate"_L1)
        return qBound(SpeedMin, values.RefreshRate, SpeedMax);
    if (key == "RefreshSteps"_L1)
        return qBound(StepsMin, values.RefreshSteps, StepsMax);
    if (key == "Language"_L1)
        return Languages::indexOf(values.Language);
    if (key == "Trace"_L1)
        return values.Trace;
    return {};
}

void ClientConfigForm::setValue(const QString &key, const QVariant &value)
{
    // A row still showing what it was given is one the person left alone: a value
    // beyond its editor's range goes back to the settings as it came.
    if (value == this->value(key) || isLocked(key))
        return;
    if (key == "FontName"_L1)
        values.FontName = value.toString();
    else if (key == "FontSize"_L1)
        values.FontSize = value.toInt();
    else if (key == "FontBold"_L1)
        values.FontBold = value.toBool();
    else if (key == "FontItalic"_L1)
        values.FontItalic = value.toBool();
    // An empty choice keeps what the settings hold.
    else if (key == "PositionHorizontal"_L1 && value.toInt() >= 0)
        values.PositionHorizontal = value.toInt();
    else if (key == "VerticalPosition"_L1 && value.toInt() >= 0)
        values.VerticalPosition = value.toInt();
    else if (key == "RefreshRate"_L1)
        values.RefreshRate = value.toInt();
    else if (key == "RefreshSteps"_L1)
        values.RefreshSteps = value.toInt();
    else if (key == "Language"_L1 && value.toInt() >= 0 && value.toInt() < Languages::all().size())
        values.Language = Languages::all().at(value.toInt()).code;
    else if (key == "Trace"_L1)
        values.Trace = value.toBool();
}

QString ClientConfigForm::FontSummary() const
{
    QString summary = values.FontName + u' ' + QString::number(values.FontSize);
    if (values.FontBold)
        summary += ResString(593);
    if (values.FontItalic)
        summary += ResString(594);
    return summary;
}

void ClientConfigForm::FontChosen(const QString &name, int size, bool bold, bool italic)
{
    TraceLog(Form + u"OnEditButtonClick"_s);
    // The dialog sets the whole font; what the administrator locked keeps its value.
    if (!name.isEmpty() && !isLocked(u"FontName"_s))
        values.FontName = name;
    // A font given in pixels has no point size; the row keeps its own then.
    if (size > 0 && !isLocked(u"FontSize"_s))
        values.FontSize = qBound(FontSizeMin, size, FontSizeMax);
    if (!isLocked(u"FontBold"_s))
        values.FontBold = bold;
    if (!isLocked(u"FontItalic"_s))
        values.FontItalic = italic;
}

void ClientConfigForm::LanguageChosen(int index)
{
    TraceLog(Form + u"OnEdited - Language"_s);
    if (index < 0 || index >= Languages::all().size()) {
        WriteLog(Form + u"OnEdited - no language at "_s + QString::number(index));
        return;
    }
    values.Language = Languages::all().at(index).code;
    // The string table speaks the language of the settings, so the dialog relabels in it at once.
    m_ctx.options.Language = values.Language;
}

ClientConfigForm::Outcome ClientConfigForm::OKButton()
{
    TraceLog(Form + u"OKButton"_s);
    Options &options = m_ctx.options;
    options.Font.Name = values.FontName;
    options.Font.Size = values.FontSize;
    options.Font.Bold = values.FontBold;
    options.Font.Italic = values.FontItalic;
    options.HorizontalPosition = values.PositionHorizontal;
    options.VerticalPosition = values.VerticalPosition;
    options.RefreshRate = values.RefreshRate;
    options.RefreshSteps = values.RefreshSteps;
    options.Language = values.Language;
    options.Trace = values.Trace;
    options.SaveOptions();
    m_ctx.user.Language = options.Language;
    m_openingLanguage = options.Language;
    // The banner reads font, place and speed only at its own load: a loaded banner changes at the next start.
    if (m_ctx.optionsChanged)
        m_ctx.optionsChanged();
    return Close;
}

ClientConfigForm::Outcome ClientConfigForm::DefaultButton()
{
    TraceLog(Form + u"DefaultButton"_s);
    m_ctx.options.ResetToDefault();
    SetInfos();
    return OKButton();
}

void ClientConfigForm::CancelButton()
{
    TraceLog(Form + u"CancelButton"_s);
    m_ctx.options.Language = m_openingLanguage;
}
