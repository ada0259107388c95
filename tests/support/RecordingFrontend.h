#pragma once

#include "core/ClientMenu.h"
#include "core/Frontend.h"

#include <QList>
#include <QQueue>
#include <QStringList>

#include <functional>

// Answers the engine's questions from a script and records everything it was
// asked or told. Installed while it lives.
class RecordingFrontend final : public Frontend
{
public:
    struct Question
    {
        QString kind; // "box", "text", "path", "password", "choice"
        QString text;
        QString caption;
        int icon = 0;
        int buttons = 0;
    };

    RecordingFrontend() { Frontend::install(this); }
    ~RecordingFrontend() override { Frontend::install(nullptr); }
    RecordingFrontend(const RecordingFrontend &) = delete;
    RecordingFrontend &operator=(const RecordingFrontend &) = delete;

    // Next answers, in order; a box without a scripted answer gets OK, an input
    // the empty text.
    void answerBox(int result) { m_boxAnswers.enqueue(result); }
    void answerText(const QString &text) { m_textAnswers.enqueue(text); }

    int MessageBoxShow(const QString &text, const QString &caption, int icon, int buttons) override;
    QString InputText(const QString &prompt, const QString &caption, int icon, int buttons,
                      const QString &defaultText) override;
    QString InputPath(const QString &prompt, const QString &caption, int icon, int buttons,
                      const QString &defaultText) override;
    QString InputPassword(const QString &prompt, const QString &caption, int icon, int buttons) override;
    QString InputChoice(const QString &prompt, const QString &caption, int icon, const QString &list,
                        const QString &defaultText) override;
    void SetTrayIcon(int image, const QString &tip) override;
    void RemoveTrayIcon() override;
    void MenuChanged(const ClientMenu &menu) override;
    void ShowLog(const QString &logFileName) override;
    bool OpenDocument(const QString &path) override;
    void ShowPolicies(const QString &reference, const Policies &policies) override;
    void ShowServerConfig(const ServerConfig &config) override;
    void DisplayList(ListKind list, const QString &letter) override;
    void AddMessageToDisplay(const DVMessage &msg) override;
    void DeleteMessageFromDisplay(const QString &msgID) override;
    bool IsOnDisplay(const QString &msgID) const override;
    void AddRecord(int list, const DVMessage &msg) override;
    void DelRecord(int list, const QString &msgID) override;
    void ShowReceiptPopup(const QString &text) override;
    bool ReceiptPopupShown() const override;

    // Runs once, inside the next box, where a modal box would pump events.
    std::function<void()> whileBoxStands;

    QList<Question> questions;
    // The banner's queue as the engine left it, in order of arrival.
    QStringList onDisplay;
    // Every message handed to the banner, in order.
    QStringList displayed;
    // The texts the receipt popup showed, and whether it stands now.
    QStringList popups;
    bool popupShown = false;
    QStringList events;
    ClientMenu lastMenu;
    int trayImage = -1;
    QString trayTip;

private:
    QString nextText(const QString &kind, const QString &prompt, const QString &caption, int icon,
                     int buttons);

    QQueue<int> m_boxAnswers;
    QQueue<QString> m_textAnswers;
};
