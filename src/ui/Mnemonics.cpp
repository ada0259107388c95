#include "ui/Mnemonics.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSet>
#include <QTextDocument>
#include <QVariant>

#include <algorithm>

namespace {

// The text as the form set it, and the text this put in its place: a text that
// differs from the latter was set anew and is decorated afresh.
constexpr char SourceProperty[] = "korvaneMnemonicSource";
constexpr char DecoratedProperty[] = "korvaneMnemonicText";

QString textOf(const QWidget *widget)
{
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        return label->text();
    if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
        return button->text();
    if (const auto *group = qobject_cast<const QGroupBox *>(widget))
        return group->title();
    return {};
}

void setTextOf(QWidget *widget, const QString &text)
{
    if (auto *label = qobject_cast<QLabel *>(widget))
        label->setText(text);
    else if (auto *button = qobject_cast<QAbstractButton *>(widget))
        button->setText(text);
    else if (auto *group = qobject_cast<QGroupBox *>(widget))
        group->setTitle(text);
}

bool takesMnemonic(const QWidget *widget)
{
    // A label's letter moves the focus to its buddy; without one it would only eat the '&'.
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        return label->buddy() && label->textFormat() != Qt::RichText &&
               !(label->textFormat() == Qt::AutoText && Qt::mightBeRichText(label->text()));
    // Tool buttons show their icon, not their text: a letter there could not be seen.
    return qobject_cast<const QPushButton *>(widget) || qobject_cast<const QCheckBox *>(widget) ||
           qobject_cast<const QRadioButton *>(widget) || qobject_cast<const QGroupBox *>(widget);
}

QString sourceOf(const QWidget *widget)
{
    const QString current = textOf(widget);
    const QVariant source = widget->property(SourceProperty);
    if (source.isValid() && widget->property(DecoratedProperty).toString() == current)
        return source.toString();
    return current;
}

bool usable(QChar c)
{
    return c.unicode() < 128 && c.isLetterOrNumber();
}

// The index of the letter to mark: a word's first letter, else any other, -1 when all are taken.
qsizetype chooseLetter(const QString &text, const QSet<QChar> &taken)
{
    for (int pass = 0; pass < 2; ++pass) {
        for (qsizetype i = 0; i < text.size(); ++i) {
            const bool wordStart = i == 0 || !text[i - 1].isLetterOrNumber();
            if ((pass == 0) == wordStart && usable(text[i]) && !taken.contains(text[i].toLower()))
                return i;
        }
    }
    return -1;
}

QString decorate(const QString &text, qsizetype letter)
{
    QString out;
    out.reserve(text.size() + 4);
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (i == letter)
            out.append(QLatin1Char('&'));
        out.append(text[i]);
        if (text[i] == QLatin1Char('&'))
            out.append(QLatin1Char('&'));
    }
    return out;
}

} // namespace

void Mnemonics::assign(QWidget *window)
{
    QList<QWidget *> controls;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        if (widget->window() == window && takesMnemonic(widget) && !sourceOf(widget).isEmpty())
            controls.append(widget);
    }
    const auto rank = [window](const QWidget *widget) {
        return (widget->isVisibleTo(window) ? 0 : 2) + (qobject_cast<const QPushButton *>(widget) ? 0 : 1);
    };
    std::stable_sort(controls.begin(), controls.end(),
                     [&rank](const QWidget *a, const QWidget *b) { return rank(a) < rank(b); });

    QSet<QChar> taken;
    for (QWidget *widget : controls) {
        const QString source = sourceOf(widget);
        const qsizetype letter = chooseLetter(source, taken);
        if (letter >= 0)
            taken.insert(source[letter].toLower());
        const QString decorated = decorate(source, letter);
        if (textOf(widget) != decorated)
            setTextOf(widget, decorated);
        widget->setProperty(SourceProperty, source);
        widget->setProperty(DecoratedProperty, decorated);
    }
}
