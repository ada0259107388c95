#pragma once

#include "core/PropertyRows.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

class Options;
class UserInfos;

// The logic of the reader's display options: the rows of the property list,
// their pending values, and what OK, Default and Cancel store.
class ClientConfigForm
{
public:
    enum Outcome { StayOpen, Close };

    struct Context
    {
        Options &options;
        UserInfos &user;
        // The engine's OptionsChanged, which renews the captions of its menu.
        std::function<void()> optionsChanged;
    };

    // What the rows hold until OK.
    struct Values
    {
        QString FontName;
        int FontSize = 0;
        bool FontBold = false;
        bool FontItalic = false;
        int PositionHorizontal = 0;
        int VerticalPosition = 0;
        int RefreshRate = 0;
        int RefreshSteps = 0;
        qint16 Language = 0;
        bool Trace = false;
    };

    explicit ClientConfigForm(Context context);

    static const QList<PropertyRow> &Rows();
    static QString Title();
    // The choices of a list row in the present language; empty for other rows.
    static QStringList ListItems(const QString &key);
    // The keys of the settings a row shows ("RefreshRate" is stored as "Speed"); none for a section.
    static QStringList SettingsOf(const QString &key);
    // What a greyed row says: the administrator fixed its value.
    static QString LockedHint();

    // The administrator locked every key the row shows: the row is greyed and keeps the settings' value.
    bool isLocked(const QString &key) const;

    // The rows' values from the settings.
    void SetInfos();
    // A row's value as the inspector shows it, and back from it. A row read back
    // as it was shown was left alone, and keeps the value of the settings.
    QVariant value(const QString &key) const;
    void setValue(const QString &key, const QVariant &value);

    // The summary of the "Font" row: name, size, then bold and italic.
    QString FontSummary() const;
    // The font dialog's answer into the four font rows.
    void FontChosen(const QString &name, int size, bool bold, bool italic);
    // The language of the "Language" row, by its place in the list: the dialog
    // speaks it at once; the other rows keep their pending values.
    void LanguageChosen(int index);

    Outcome OKButton();
    Outcome DefaultButton();
    // Nothing is stored, and the language the dialog opened in comes back.
    void CancelButton();

    Values values;

private:
    Context m_ctx;
    qint16 m_openingLanguage = 0;
};
