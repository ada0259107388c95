#include "ui/frmDialog.h"

#include "core/Frontend.h"
#include "core/StringTable.h"
#include "ui/DialogButtonSet.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

QStyle::StandardPixmap pixmapFor(int icon)
{
    switch (icon) {
    case IconCritical:
        return QStyle::SP_MessageBoxCritical;
    case IconExclamation:
        return QStyle::SP_MessageBoxWarning;
    case IconQuestion:
        return QStyle::SP_MessageBoxQuestion;
    default:
        return QStyle::SP_MessageBoxInformation;
    }
}

} // namespace

frmDialog::frmDialog(QWidget *parent) : QDialog(parent)
{
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setModal(true);

    imIcons = new QLabel(this);
    Label1 = new QLabel(this);
    Label1->setWordWrap(true);
    Label1->setTextFormat(Qt::PlainText);
    Label1->setTextInteractionFlags(Qt::TextSelectableByMouse);
    txtInput = new QLineEdit(this);
    cmdBrowse = new QToolButton(this);
    cmdBrowse->setText(QStringLiteral("..."));
    cboChoice = new QComboBox(this);

    auto *top = new QHBoxLayout;
    top->addWidget(imIcons, 0, Qt::AlignTop);
    top->addWidget(Label1, 1);

    auto *input = new QHBoxLayout;
    input->addWidget(txtInput, 1);
    input->addWidget(cmdBrowse);
    input->addWidget(cboChoice, 1);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    for (int i = 0; i < 4; ++i) {
        Button[i] = new QPushButton(this);
        Button[i]->setProperty("result", DialogButtonSet::resultOf(i));
        connect(Button[i], &QPushButton::clicked, this, [this, i] {
            m_result = Button[i]->property("result").toInt();
            accept();
        });
    }

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(input);
    layout->addLayout(buttons);

    connect(cmdBrowse, &QToolButton::clicked, this, &frmDialog::browse);
    AssignLabels();
    setInput(NoInput, QString());
    ScreenFit::keepOnScreen(this);
}

void frmDialog::AssignLabels()
{
    for (int i = 0; i < 4; ++i)
        Button[i]->setText(ResString(9900 + i));
    cmdBrowse->setToolTip(ResString(9906));
    cmdBrowse->setAccessibleName(ResString(9906));
}

void frmDialog::setup(const QString &text, const QString &caption, int icon, int buttonSet)
{
    m_buttonSet = buttonSet;
    setWindowTitle(caption);
    Label1->setText(text);
    const int size = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    imIcons->setPixmap(style()->standardIcon(pixmapFor(icon), nullptr, this).pixmap(size, size));
    imIcons->setVisible(icon != IconNone);

    auto *row = qobject_cast<QHBoxLayout *>(layout()->itemAt(2)->layout());
    for (QPushButton *button : Button) {
        row->removeWidget(button);
        button->hide();
    }
    const QList<int> shown = DialogButtonSet::buttonsOf(buttonSet);
    for (int index : shown) {
        row->addWidget(Button[index]);
        Button[index]->show();
    }
    Button[shown.first()]->setDefault(true);
    Button[shown.first()]->setFocus();
    // The field is called by the question it answers; the text is no label, so '&' stays a character.
    txtInput->setAccessibleName(text);
    cboChoice->setAccessibleName(text);
    Mnemonics::assign(this);
    fitWidth();
}

void frmDialog::setInput(InputKind kind, const QString &defaultText, const QStringList &choices)
{
    m_kind = kind;
    const bool text = kind == TextInput || kind == PathInput || kind == PasswordInput;
    txtInput->setVisible(text);
    cmdBrowse->setVisible(kind == PathInput);
    cboChoice->setVisible(kind == ChoiceInput);
    txtInput->setEchoMode(kind == PasswordInput ? QLineEdit::Password : QLineEdit::Normal);
    txtInput->setText(kind == PasswordInput ? QString() : defaultText);
    cboChoice->clear();
    cboChoice->addItems(choices);
    if (kind == ChoiceInput)
        cboChoice->setCurrentIndex(qMax(0, choices.indexOf(defaultText)));
    if (text) {
        txtInput->selectAll();
        txtInput->setFocus();
    }
    fitWidth();
}

void frmDialog::fitWidth()
{
    const QScreen *screen = this->screen();
    const int cap = screen ? screen->availableGeometry().width() * 3 / 4 : 1024;

    // The text wraps between words only: its longest word fits on one line.
    const QMargins margins = layout()->contentsMargins();
    const int beside = margins.left() + margins.right() +
                       (imIcons->isHidden() ? 0 : imIcons->sizeHint().width() + qMax(0, layout()->spacing()));
    const QFontMetrics textMetrics(Label1->font());
    int longestWord = 0;
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    for (const QString &word : Label1->text().split(blanks, Qt::SkipEmptyParts))
        longestWord = qMax(longestWord, textMetrics.horizontalAdvance(word) + 1);
    Label1->setMinimumWidth(qMin(longestWord, cap - beside));

    // The window manager draws the title in bold beside its icon and three
    // buttons; five squares of the title's height leave room for them.
    QFont titleFont = QFontDatabase::systemFont(QFontDatabase::TitleFont);
    titleFont.setBold(true);
    const QFontMetrics titleMetrics(titleFont);
    const int titleWidth = titleMetrics.horizontalAdvance(windowTitle()) + 5 * titleMetrics.height();

    layout()->activate();
    int width = qMax(minimumSizeHint().width(), qMin(qMax(sizeHint().width(), titleWidth), cap));
    const auto heightFor = [this](int w) {
        return layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(w) : sizeHint().height();
    };
    int height = heightFor(width);
    // A text taller than the screen first widens to its own longest line, up to the cap, then
    // scrolls in its place, so that the buttons stay in sight.
    const QMargins frame = ScreenFit::frameOf(this);
    const int room = screen ? screen->availableGeometry().height() - frame.top() - frame.bottom() : height;
    const int scrollBar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
    if (height > room) {
        int longestLine = 0;
        for (const QString &line : Label1->text().split(QLatin1Char('\n')))
            longestLine = qMax(longestLine, textMetrics.horizontalAdvance(line) + 1);
        width = qMax(width, qMin(cap, longestLine + beside + scrollBar));
        height = heightFor(width);
    }
    if (height <= room) {
        resize(width, height);
        return;
    }
    // All but the text keeps its height; the text has what is left.
    const int rest = height - (m_scroll ? m_scroll->maximumHeight() : Label1->heightForWidth(width - beside));
    if (!m_scroll) {
        m_scroll = new QScrollArea(this);
        m_scroll->setFrameShape(QFrame::NoFrame);
        m_scroll->setWidgetResizable(true);
        m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        delete qobject_cast<QHBoxLayout *>(layout()->itemAt(0)->layout())->replaceWidget(Label1, m_scroll);
        m_scroll->setWidget(Label1);
    }
    m_scroll->setMinimumWidth(Label1->minimumWidth() + scrollBar);
    m_scroll->setFixedHeight(qMax(textMetrics.height(), room - rest));
    layout()->activate();
    width = qMax(width, minimumSizeHint().width());
    resize(width, qMax(minimumSizeHint().height(), qMin(room, sizeHint().height())));
}

QString frmDialog::inputText() const
{
    if (m_kind == ChoiceInput)
        return cboChoice->currentText();
    return m_kind == NoInput ? QString() : txtInput->text();
}

void frmDialog::reject()
{
    m_result = DialogButtonSet::escapeResult(m_buttonSet);
    QDialog::reject();
}

void frmDialog::browse()
{
    const QString path = QFileDialog::getOpenFileName(this, windowTitle(), txtInput->text());
    if (!path.isEmpty())
        txtInput->setText(path);
}
