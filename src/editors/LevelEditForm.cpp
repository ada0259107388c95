#include "editors/LevelEditForm.h"

#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "link/Commands.h"
#include "link/OutgoingText.h"
#include "store/Database.h"
#include "ui/SoundCodes.h"

#include <QFileInfo>
#include <QSqlQuery>

#include <algorithm>
#include <cmath>

namespace {

const QString Form = QStringLiteral("frmLevelEdit:");
constexpr int HintFirst = 1403;
// A level's name travels in the messages of that level, whose field holds 30 characters.
constexpr int NameLimit = 30;

const QString Columns =
    QStringLiteral("LevelName, Description, BackColor, ForeColor, ShadowColor, DrawShadow, "
                   "SoundType, SoundFile, Looping, Authority");

level readRow(const QSqlQuery &rows)
{
    level row;
    row.LevelName = rows.value(0).toString();
    row.Description = rows.value(1).toString();
    row.BackColor = rows.value(2).toDouble();
    row.ForeColor = rows.value(3).toDouble();
    row.ShadowColor = rows.value(4).toDouble();
    row.DrawShadow = rows.value(5).toBool();
    row.SoundType = static_cast<qint16>(rows.value(6).toInt());
    row.SoundFile = rows.value(7).toString();
    row.Looping = rows.value(8).toBool();
    row.Authority = static_cast<qint16>(rows.value(9).toInt());
    return row;
}

// A stored colour may be negative: a desktop colour index kept as a signed number.
quint32 colorOf(double stored)
{
    return std::isfinite(stored) ? quint32(qint64(stored)) : 0;
}

// The separators of the wire and the double quotes of the record forms may not travel.
QString cleaned(const QString &text)
{
    QString clean;
    clean.reserve(text.size());
    for (const QChar c : text)
        if (c.unicode() > 4)
            clean.append(c == u'"' ? u'\'' : c);
    return clean;
}

void showBox(int text, int caption, int icon)
{
    if (Frontend *frontend = Frontend::current())
        frontend->MessageBoxShow(ResString(text), ResString(caption), icon, ButtonsOk);
}

} // namespace

LevelEditForm::LevelEditForm(Context context) : m_ctx(std::move(context)) {}

void LevelEditForm::Load()
{
    TraceLog(Form + QStringLiteral("Form_Load"));
    m_loading = true;
    m_changed = false;
    ResetLevels();
    const QList<level> levels = Levels();
    cboLevel = levels.isEmpty() ? QString() : levels.first().LevelName;
    EditCurrent();
    m_loading = false;
    EnableButtons();
}

bool LevelEditForm::ResetLevels()
{
    TraceLog(Form + QStringLiteral("ResetLevels"));
    Transaction transaction(m_ctx.tempDB);
    if (!m_ctx.tempDB.exec(QStringLiteral("DELETE FROM Levels"))) {
        fail(QStringLiteral("ResetLevels"), m_ctx.tempDB.lastError());
        return false;
    }
    // A level without an authority is open to everybody, as a new one is.
    QSqlQuery *rows = m_ctx.clientDB.query(QStringLiteral("SELECT ") + Columns +
                                               QStringLiteral(" FROM Levels WHERE IFNULL(Authority, 0) < ? "
                                                              "ORDER BY rowid"),
                                           {int(level::ReservedAuthority)});
    if (!rows) {
        fail(QStringLiteral("ResetLevels"), m_ctx.clientDB.lastError());
        return false;
    }
    bool copied = true;
    while (copied && rows->next()) {
        QVariantList values;
        for (int column = 0; column < 10; ++column)
            values << rows->value(column);
        copied = m_ctx.tempDB.exec(QStringLiteral("INSERT INTO Levels (") + Columns +
                                       QStringLiteral(", ToSend) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, 0)"),
                                   values);
    }
    rows->finish();
    if (!copied || !transaction.commit()) {
        fail(QStringLiteral("ResetLevels"), m_ctx.tempDB.lastError());
        return false;
    }
    return true;
}

QList<level> LevelEditForm::Levels() const
{
    QList<level> levels;
    QSqlQuery *rows = m_ctx.tempDB.query(QStringLiteral("SELECT ") + Columns +
                                             QStringLiteral(" FROM Levels WHERE IFNULL(Authority, 0) < ? "
                                                            "ORDER BY rowid"),
                                         {int(level::ReservedAuthority)});
    if (!rows) {
        fail(QStringLiteral("AssignLevels2ComboBox"), m_ctx.tempDB.lastError());
        return levels;
    }
    while (rows->next())
        levels << readRow(*rows);
    rows->finish();
    return levels;
}

void LevelEditForm::EditCurrent()
{
    TraceLog(Form + QStringLiteral("EditCurrent"));
    const std::optional<level> row =
        cboLevel.isEmpty() ? std::nullopt : find(cboLevel, QStringLiteral("EditCurrent"));
    if (!row) {
        cboSoundType = SoundCodes::None;
        txtSoundFile.clear();
        txtSoundFileToolTip.clear();
        chkLooping = false;
        cboAuthority = 0;
    } else {
        txtLevelName = row->LevelName;
        txtDescription = row->Description;
        colBackground = colorOf(row->BackColor);
        colForeground = colorOf(row->ForeColor);
        colShadow = colorOf(row->ShadowColor);
        chkShadow = row->DrawShadow;
        cboSoundType = row->SoundType;
        txtSoundFile = row->SoundFile;
        txtSoundFileToolTip = row->SoundFile;
        chkLooping = row->Looping;
        cboAuthority = row->Authority;
    }
    cboSoundType_Click();
}

void LevelEditForm::cboSoundType_Click()
{
    cmdStopEnabled = false;
    const bool builtIn = cboSoundType >= SoundCodes::FirstBuiltIn && cboSoundType <= SoundCodes::LastBuiltIn;
    txtSoundFileEnabled = cboSoundType == SoundCodes::File;
    chkLoopingEnabled = cboSoundType == SoundCodes::File || builtIn;
    if (cboSoundType == SoundCodes::Beep || builtIn)
        cmdPLayEnabled = true;
    else if (cboSoundType == SoundCodes::File)
        cmdPLayEnabled = !txtSoundFile.isEmpty();
    EnableButtons();
}

void LevelEditForm::txtSoundFile_Change()
{
    if (cboSoundType == SoundCodes::File && !cmdStopEnabled)
        cmdPLayEnabled = !txtSoundFile.isEmpty();
    EnableButtons();
}

void LevelEditForm::EnableButtons()
{
    if (m_loading)
        return;
    OKButtonEnabled = m_changed;
    DefaultButtonEnabled = m_changed;
    cmdUpdateEnabled = false;
    const level typed = fieldsRow();
    cmdAddEnabled = !typed.LevelName.isEmpty() && typed.LevelName != cboLevel && !nameTaken(typed.LevelName);
    if (cboLevel.isEmpty() || typed.LevelName != cboLevel)
        return;
    const std::optional<level> stored = find(cboLevel, QStringLiteral("EnableButtons"));
    if (!stored)
        return;
    // Colours are compared as the controls hold them: an unchanged desktop colour is no change.
    cmdUpdateEnabled = typed.Description != stored->Description ||
                       colBackground != colorOf(stored->BackColor) ||
                       colForeground != colorOf(stored->ForeColor) ||
                       colShadow != colorOf(stored->ShadowColor) || chkShadow != stored->DrawShadow ||
                       cboSoundType != stored->SoundType || typed.SoundFile != stored->SoundFile ||
                       chkLooping != stored->Looping || cboAuthority != stored->Authority;
}

bool LevelEditForm::cmdAdd()
{
    TraceLog(Form + QStringLiteral("cmdAdd"));
    if (!admitTexts())
        return false;
    const QString name = fieldsRow().LevelName;
    if (name.isEmpty() || nameTaken(name) || !admitSoundFile(QStringLiteral("cmdAdd")))
        return false;
    const level row = fieldsRow();
    if (!saveRow(row, true, QStringLiteral("cmdAdd")))
        return false;
    m_changed = true;
    cboLevel = row.LevelName;
    EditCurrent();
    return true;
}

bool LevelEditForm::cmdUpdate()
{
    TraceLog(Form + QStringLiteral("cmdUpdate"));
    if (!admitTexts())
        return false;
    if (cboLevel.isEmpty() || fieldsRow().LevelName != cboLevel ||
        !admitSoundFile(QStringLiteral("cmdUpdate")))
        return false;
    const level row = fieldsRow();
    if (!saveRow(row, false, QStringLiteral("cmdUpdate")))
        return false;
    m_changed = true;
    EditCurrent();
    return true;
}

LevelEditForm::Outcome LevelEditForm::OKButton()
{
    TraceLog(Form + QStringLiteral("OKButton"));
    QSqlQuery *rows = m_ctx.tempDB.query(QStringLiteral("SELECT ") + Columns +
                                         QStringLiteral(" FROM Levels WHERE ToSend = 1 ORDER BY rowid"));
    if (!rows) {
        fail(QStringLiteral("OKButton"), m_ctx.tempDB.lastError());
        return StayOpen;
    }
    QList<QStringList> payload;
    while (rows->next()) {
        const level row = readRow(*rows);
        payload.append({row.LevelName, row.Description, QString::number(colorOf(row.BackColor)),
                        QString::number(colorOf(row.ForeColor)), QString::number(colorOf(row.ShadowColor)),
                        Commands::BoolText(row.DrawShadow), QString::number(row.SoundType), row.SoundFile,
                        Commands::BoolText(row.Looping), QString::number(row.Authority)});
    }
    rows->finish();
    if (payload.isEmpty())
        return Close;
    // Unsent, the changes stay in the buffer for another try.
    const auto send = [this](const QString &command) { return m_ctx.sendData && m_ctx.sendData(command); };
    const OutgoingText::Sending sending =
        OutgoingText::Send(Commands::LVL(payload), gUserInfos().UserID(), send);
    if (Frontend *frontend = Frontend::current())
        OutgoingText::Told(*frontend, sending);
    if (sending.result != OutgoingText::Sending::Sent) {
        fail(QStringLiteral("OKButton"), QStringLiteral("The levels could not be sent to the server"));
        return StayOpen;
    }
    return Close;
}

void LevelEditForm::DefaultButton()
{
    TraceLog(Form + QStringLiteral("DefaultButton"));
    ResetLevels();
    m_changed = false;
    const QList<level> levels = Levels();
    const bool kept = std::any_of(levels.cbegin(), levels.cend(),
                                  [this](const level &row) { return row.LevelName == cboLevel; });
    if (!kept)
        cboLevel = levels.isEmpty() ? QString() : levels.first().LevelName;
    EditCurrent();
}

bool LevelEditForm::PlayFile(const QString &file)
{
    TraceLog(Form + QStringLiteral("PlayFile"));
    if (!QFileInfo(file).isFile()) {
        showBox(MissingFileText, MissingFileTitle, IconExclamation);
        return false;
    }
    cmdStopEnabled = true;
    cmdPLayEnabled = false;
    return true;
}

void LevelEditForm::cmdStop()
{
    TraceLog(Form + QStringLiteral("cmdStop"));
    SoundDone();
}

void LevelEditForm::SoundDone()
{
    cmdStopEnabled = false;
    cmdPLayEnabled = true;
}

bool LevelEditForm::BrowseAccept(const QString &path)
{
    TraceLog(Form + QStringLiteral("txtSoundFile_ButtonClick"));
    if (path.isEmpty())
        return false;
    QString shared = path;
    if (!sharedSoundPath(shared, QStringLiteral("txtSoundFile_ButtonClick")))
        return false;
    txtSoundFile = shared;
    txtSoundFileToolTip = shared;
    txtSoundFile_Change();
    return true;
}

const QStringList &LevelEditForm::HintedControls()
{
    static const QStringList controls = {
        QStringLiteral("cboLevel"),     QStringLiteral("txtLevelName"),  QStringLiteral("txtDescription"),
        QStringLiteral("cboAuthority"), QStringLiteral("colBackground"), QStringLiteral("colForeground"),
        QStringLiteral("colShadow"),    QStringLiteral("chkShadow"),     QStringLiteral("cboSoundType"),
        QStringLiteral("cmdPLay"),      QStringLiteral("txtSoundFile"),  QStringLiteral("chkLooping"),
        QStringLiteral("cmdAdd"),       QStringLiteral("cmdUpdate"),     QStringLiteral("OKButton"),
        QStringLiteral("CancelButton"), QStringLiteral("DefaultButton")};
    return controls;
}

QString LevelEditForm::Hint(const QString &controlName)
{
    // Play and Stop are one pair and share their hint.
    const QString name = controlName == QLatin1String("cmdStop") ? QStringLiteral("cmdPLay") : controlName;
    const qsizetype index = HintedControls().indexOf(name);
    if (index < 0)
        return {};
    const QString text = ResString(HintFirst + int(index));
    const qsizetype bar = text.indexOf(QLatin1Char('|'));
    if (bar < 0)
        return text;
    return QStringLiteral("<b>") + text.left(bar).toHtmlEscaped() + QStringLiteral("</b><br>") +
           text.mid(bar + 1);
}

bool LevelEditForm::admitTexts()
{
    // Without a person to ask, the separators are still kept off the wire by fieldsRow.
    Frontend *frontend = Frontend::current();
    if (!frontend)
        return true;
    const bool admitted = OutgoingText::Admit(*frontend, {&txtLevelName, &txtDescription, &txtSoundFile});
    EnableButtons();
    return admitted;
}

bool LevelEditForm::admitSoundFile(const QString &procedure)
{
    // Other codes than a file play without one; a file must be where every client fetches it.
    if (cboSoundType != SoundCodes::File)
        return true;
    QString shared = txtSoundFile;
    if (!sharedSoundPath(shared, procedure))
        return false;
    txtSoundFile = shared;
    txtSoundFileToolTip = shared;
    return true;
}

bool LevelEditForm::sharedSoundPath(QString &path, const QString &procedure) const
{
    QString shared = path;
    if (!path.isEmpty() && m_ctx.isSharedPath && m_ctx.isSharedPath(shared)) {
        path = shared;
        return true;
    }
    // Each client would store the level silent: the author hears of it now.
    fail(procedure, path + QStringLiteral(" is not in network path"));
    showBox(NotSharedText, NotSharedTitle, IconCritical);
    return false;
}

std::optional<level> LevelEditForm::find(const QString &name, const QString &procedure) const
{
    QSqlQuery *rows = m_ctx.tempDB.query(
        QStringLiteral("SELECT ") + Columns + QStringLiteral(" FROM Levels WHERE LevelName = ?"), {name});
    if (!rows) {
        fail(procedure, m_ctx.tempDB.lastError());
        return std::nullopt;
    }
    std::optional<level> row;
    if (rows->next())
        row = readRow(*rows);
    rows->finish();
    return row;
}

bool LevelEditForm::nameTaken(const QString &name) const
{
    // Names differing only in case would be one level to the authors; a reserved
    // level's name is taken although it is never listed here.
    bool ok = true;
    const bool inBuffer = m_ctx.tempDB.exists(
        QStringLiteral("SELECT 1 FROM Levels WHERE LevelName = ? COLLATE NOCASE"), {name}, &ok);
    bool reservedOk = true;
    const bool reserved = m_ctx.clientDB.exists(
        QStringLiteral("SELECT 1 FROM Levels WHERE LevelName = ? COLLATE NOCASE AND Authority >= ?"),
        {name, int(level::ReservedAuthority)}, &reservedOk);
    if (!ok || !reservedOk)
        fail(QStringLiteral("EnableButtons"), (ok ? m_ctx.clientDB : m_ctx.tempDB).lastError());
    // A buffer that cannot be read takes no new level.
    return inBuffer || reserved || !ok;
}

level LevelEditForm::fieldsRow() const
{
    const auto translate = [this](quint32 color) {
        return double(m_ctx.translateColor ? m_ctx.translateColor(color) : color);
    };
    level row;
    row.LevelName = cleaned(txtLevelName).left(NameLimit);
    row.Description = cleaned(txtDescription);
    row.BackColor = translate(colBackground);
    row.ForeColor = translate(colForeground);
    row.ShadowColor = translate(colShadow);
    row.DrawShadow = chkShadow;
    row.SoundType = static_cast<qint16>(cboSoundType);
    row.SoundFile = cleaned(txtSoundFile);
    row.Looping = chkLooping;
    row.Authority = static_cast<qint16>(cboAuthority);
    return row;
}

bool LevelEditForm::saveRow(const level &row, bool insert, const QString &procedure)
{
    // "ShadowCOlor" as the editor has always spelt it: column names ignore case.
    const QString sql =
        insert ? QStringLiteral(
                     "INSERT INTO Levels (Description, BackColor, ForeColor, ShadowCOlor, DrawShadow, "
                     "SoundType, SoundFile, Looping, Authority, ToSend, LevelName) "
                     "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, 1, ?)")
               : QStringLiteral("UPDATE Levels SET Description = ?, BackColor = ?, ForeColor = ?, "
                                "ShadowCOlor = ?, DrawShadow = ?, SoundType = ?, SoundFile = ?, Looping = ?, "
                                "Authority = ?, ToSend = 1 WHERE LevelName = ?");
    const QVariantList values = {row.Description,     row.BackColor,      row.ForeColor, row.ShadowColor,
                                 int(row.DrawShadow), int(row.SoundType), row.SoundFile, int(row.Looping),
                                 int(row.Authority),  row.LevelName};
    if (!m_ctx.tempDB.exec(sql, values)) {
        fail(procedure, m_ctx.tempDB.lastError());
        return false;
    }
    if (m_ctx.tempDB.changes() != 1) {
        fail(procedure, QStringLiteral("No level named ") + row.LevelName);
        return false;
    }
    return true;
}

void LevelEditForm::fail(const QString &procedure, const QString &error) const
{
    WriteLog(Form + procedure + QStringLiteral(" - ") + error);
}
