#pragma once

#include <QObject>
#include <QString>

#include <functional>

class QTextBrowser;
class QWidget;

// The hint pane of a form: a control's hint shows when it takes the focus, and
// is kept; the mouse over a control shows that control's; the mouse over the
// bare form brings the kept one back.
class HintPane final : public QObject
{
public:
    // hintOf gives a control's rich text by its name.
    HintPane(QTextBrowser *pane, QWidget *form, const QList<QWidget *> &controls,
             std::function<QString(const QString &controlName)> hintOf);
    // Shows the kept hint again, in the language now in force.
    void refresh();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void show(const QString &controlName);

    QTextBrowser *m_pane;
    QWidget *m_form;
    QString m_current;
    std::function<QString(const QString &controlName)> m_hintOf;
};
