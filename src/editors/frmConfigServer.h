#pragma once

#include "editors/ServerConfigForm.h"
#include "ui_frmConfigServer.h"

#include <QDialog>

// The server's configuration, opened by the server's answer to SCR; it goes
// when closed.
class frmConfigServer final : public QDialog
{
    Q_OBJECT
public:
    explicit frmConfigServer(ServerConfigForm::Context context, QWidget *parent = nullptr);

    ServerConfigForm &logic() { return m_logic; }
    void SetConfig(const ServerConfig &config);
    void SetConfig(const QString &text);
    Ui::frmConfigServer ui;

protected:
    void changeEvent(QEvent *event) override;

private:
    void AssignLabels();
    void showRows();
    void readRows();
    void OnEditing(const QString &key);

    ServerConfigForm m_logic;
    QString m_hintKey;
};
