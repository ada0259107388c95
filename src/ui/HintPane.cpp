#include "ui/HintPane.h"

#include <QEvent>
#include <QTextBrowser>
#include <QWidget>

HintPane::HintPane(QTextBrowser *pane, QWidget *form, const QList<QWidget *> &controls,
                   std::function<QString(const QString &controlName)> hintOf)
    : QObject(form), m_pane(pane), m_form(form), m_hintOf(std::move(hintOf))
{
    for (QWidget *control : controls)
        control->installEventFilter(this);
    form->installEventFilter(this);
}

void HintPane::refresh()
{
    show(m_current);
}

void HintPane::show(const QString &controlName)
{
    // A long hint scrolls in its pane rather than pushing the fields about.
    m_pane->setHtml(m_hintOf(controlName));
}

bool HintPane::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (watched == m_form) {
        // The pointer onto the bare form brings back the hint of the focus (from a control, its Leave does).
        if (type == QEvent::Enter)
            show(m_current);
    } else if (type == QEvent::FocusIn) {
        m_current = watched->objectName();
        show(m_current);
    } else if (type == QEvent::Enter) {
        show(watched->objectName());
    } else if (type == QEvent::Leave) {
        show(m_current);
    }
    return false;
}
