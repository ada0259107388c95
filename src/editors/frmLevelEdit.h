#pragma once

#include "editors/LevelEditForm.h"
#include "ui_frmLevelEdit.h"

#include <QWidget>

#include <functional>

class HintPane;
class QStandardItemModel;
class QToolButton;
class SoundPlayer;

// The level editor: an administrator's window over the levels, shown beside
// the others and gone when closed. It shows the fields of its logic and passes
// the person's actions to it.
class frmLevelEdit final : public QWidget
{
    Q_OBJECT
public:
    explicit frmLevelEdit(LevelEditForm::Context context, QWidget *parent = nullptr);
    ~frmLevelEdit() override;

    // The rule of the composers for a file that every user must read: a path
    // others can open, turned into the form they open it by.
    static std::function<bool(QString &path)> defaultSharedPathRule();

    LevelEditForm &logic() { return m_logic; }
    SoundPlayer &player() { return *m_player; }
    void AssignLabels();
    Ui::frmLevelEdit ui;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    // Escape closes the editor as Cancel does, as it does any dialog.
    void keyPressEvent(QKeyEvent *event) override;

private:
    void fillLevels();
    void fillLists();
    void showFields();
    void applyEnabling();
    void edited();
    void chooseColor(quint32 &color);
    void soundTypeChosen(int index);
    void stopPlayer();
    void play();
    void browse();
    void afterButton(bool done);

    LevelEditForm m_logic;
    SoundPlayer *m_player = nullptr;
    QStandardItemModel *m_levels = nullptr;
    HintPane *m_hints = nullptr;
    QAction *m_browse = nullptr;
};
