#pragma once

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QToolButton;

// The system's one dialog: a text, an icon, up to four buttons, and either a
// text field or a choice list.
class frmDialog final : public QDialog
{
    Q_OBJECT
public:
    enum InputKind { NoInput, TextInput, PathInput, PasswordInput, ChoiceInput };

    explicit frmDialog(QWidget *parent = nullptr);

    void setup(const QString &text, const QString &caption, int icon, int buttonSet);
    void setInput(InputKind kind, const QString &defaultText, const QStringList &choices = {});

    int result16() const { return m_result; }
    QString inputText() const;

    QLabel *Label1 = nullptr;
    QLabel *imIcons = nullptr;
    QLineEdit *txtInput = nullptr;
    QToolButton *cmdBrowse = nullptr;
    QComboBox *cboChoice = nullptr;
    QPushButton *Button[4] = {};

protected:
    void reject() override;

private:
    void AssignLabels();
    void browse();
    void fitWidth();

    InputKind m_kind = NoInput;
    int m_buttonSet = 1;
    int m_result = 0;
    // Made only for a text taller than the screen.
    QScrollArea *m_scroll = nullptr;
};
