#pragma once

#include "core/Options.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QGroupBox>
#include <QHash>
#include <QLabel>
#include <QSet>
#include <QStringList>
#include <QWidget>

// Switches the language as the options dialog does: the setting, then the event every form follows.
inline void switchLanguage(QWidget *window, int language)
{
    gOptions().Language = language;
    QEvent change(QEvent::LanguageChange);
    QCoreApplication::sendEvent(window, &change);
}

// The English texts of the built-in table that French says otherwise, without their letter marks.
inline const QSet<QString> &englishOnly()
{
    static const QSet<QString> texts = [] {
        QFile file(QStringLiteral(":/resources/strings.tsv"));
        QHash<int, QString> table;
        if (file.open(QIODevice::ReadOnly))
            for (const QByteArray &line : file.readAll().split('\n')) {
                const int tab = line.indexOf('\t');
                if (tab > 0 && !line.startsWith('#'))
                    table.insert(line.left(tab).toInt(), QString::fromUtf8(line.mid(tab + 1)).remove(u'&'));
            }
        QSet<QString> english;
        for (auto it = table.cbegin(); it != table.cend(); ++it)
            if (it.key() < 10000 && !it.value().isEmpty() && table.value(it.key() + 10000) != it.value())
                english.insert(it.value());
        return english;
    }();
    return texts;
}

// What a window still says in English (its title, captions, items, tips and names read out), and the
// captions it shows empty (a control named only for reading out aside). After a switch to French the list is
// empty.
inline QStringList leftInEnglish(QWidget *window)
{
    QStringList shown{window->windowTitle()}, left;
    const auto caption = [&left, &shown](QWidget *w, const QString &text, bool drawn) {
        if (text.isEmpty() && !drawn && w->accessibleName().isEmpty() && w->isVisibleTo(w->window()))
            left << w->objectName() + QLatin1Char(' ') + QLatin1String(w->metaObject()->className()) +
                        QStringLiteral(" empty");
        shown << text;
    };
    for (QWidget *w : window->findChildren<QWidget *>()) {
        if (w->objectName().startsWith(QStringLiteral("qt_")))
            continue;
        shown << w->toolTip() << w->accessibleName();
        if (auto *label = qobject_cast<QLabel *>(w))
            caption(w, label->text(), !label->pixmap().isNull());
        else if (auto *button = qobject_cast<QAbstractButton *>(w))
            caption(w, button->text(), !button->icon().isNull());
        else if (auto *box = qobject_cast<QGroupBox *>(w))
            caption(w, box->title(), true);
        else if (auto *combo = qobject_cast<QComboBox *>(w))
            for (int i = 0; i < combo->count(); ++i)
                shown << combo->itemText(i);
    }
    for (QString text : shown)
        if (englishOnly().contains(text.remove(u'&')))
            left << text;
    return left;
}
