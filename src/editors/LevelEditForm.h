#pragma once

#include "store/level.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

class Database;

// The logic of the level editor. It works on a private buffer, the Levels
// table of the temporary store, so that nothing reaches the server before OK;
// the public members stand for the form's controls.
class LevelEditForm
{
public:
    enum Outcome { StayOpen, Close };

    // The texts of the editor.
    enum Text : int {
        Title = 1400,
        LabelLevels = 1401,
        LabelPreview = 1402,
        LabelLevelName = 1420,
        LabelAuthority = 1421,
        LabelBackground = 1422,
        LabelForeground = 1423,
        CheckShadow = 1424,
        LabelSoundType = 1425,
        LabelSoundFile = 1426,
        CheckLooping = 1427,
        ButtonAdd = 1428,
        ButtonUpdate = 1429,
        ButtonReset = 1430,
        FrameGeneral = 1431,
        FrameVisual = 1432,
        FrameSound = 1433,
        MissingFileText = 1434,
        MissingFileTitle = 1435,
        NotSharedText = 1436,
        SoundFilter = 1437,
        NotSharedTitle = 1490,
        // The words of the sound codes 0 to 11, in the order of the codes.
        SoundTypeFirst = 1438,
        // Shared with the other forms.
        LabelDescription = 1051,
        AuthorityFirst = 1268,
        ButtonOK = 9900,
        ButtonCancel = 9901,
    };
    static constexpr int AuthorityCount = 4;
    static constexpr int SoundTypeCount = 12;

    struct Context
    {
        Database &clientDB;
        Database &tempDB;
        std::function<bool(const QString &payload)> sendData;
        // Whether all users can read the path; it may turn the path into the
        // form that other machines open.
        std::function<bool(QString &path)> isSharedPath;
        // A stored colour as blue-green-red: a desktop colour index becomes the
        // colour it stands for today. Unset, colours stay as they are.
        std::function<quint32(quint32 color)> translateColor = {};
    };

    explicit LevelEditForm(Context context);

    // The buffer anew, the first listed level in the fields.
    void Load();
    // Empties the buffer and copies into it the levels of the store that may be
    // edited, none of them to be sent.
    bool ResetLevels();
    // The buffer's levels for the list, reserved ones left out, in table order.
    QList<level> Levels() const;
    // The chosen level (cboLevel) into the fields; cleared when there is none.
    void EditCurrent();
    // The sound type was changed: what may be used with it.
    void cboSoundType_Click();
    // The path was typed: a file of the author's can be played once it is named.
    void txtSoundFile_Change();
    void EnableButtons();
    // The fields into the buffer, once their texts can travel and a sound file is
    // one every client can fetch; false, with a box, otherwise.
    bool cmdAdd();
    bool cmdUpdate();
    // Sends the buffered changes; the store changes only when the server sends
    // the levels back. Stays open, with a box, when they cannot go.
    Outcome OKButton();
    // Drops every buffered change.
    void DefaultButton();

    // The file that play would open; false with the "Wrong path" box when it is not there.
    bool PlayFile(const QString &file);
    void cmdStop();
    void SoundDone();
    // A path chosen by browsing; false with the "ERROR" box when others could not read it.
    // A typed path meets the same rule at ADD and UPDATE.
    bool BrowseAccept(const QString &path);

    // The hint of a control as rich text: the caption in bold, then the body.
    static QString Hint(const QString &controlName);
    static const QStringList &HintedControls();

    // The controls. cboLevel is the name of the chosen level, empty for none.
    QString cboLevel;
    QString txtLevelName;
    QString txtDescription;
    int cboAuthority = 0;
    quint32 colBackground = 16777215;
    quint32 colForeground = 0;
    quint32 colShadow = 0;
    bool chkShadow = false;
    int cboSoundType = 0;
    QString txtSoundFile;
    QString txtSoundFileToolTip;
    bool chkLooping = false;

    bool txtSoundFileEnabled = false;
    bool chkLoopingEnabled = false;
    bool cmdPLayEnabled = false;
    bool cmdStopEnabled = false;
    bool cmdAddEnabled = false;
    bool cmdUpdateEnabled = false;
    bool OKButtonEnabled = false;
    bool DefaultButtonEnabled = false;

    // Raised by ADD and UPDATE: there is something to send.
    bool Changed() const { return m_changed; }
    bool Loading() const { return m_loading; }

private:
    // The texts of the fields checked for the wire; the sound file for the other clients.
    bool admitTexts();
    bool admitSoundFile(const QString &procedure);
    // A path in the form other machines open it by; false with the "ERROR" box.
    bool sharedSoundPath(QString &path, const QString &procedure) const;
    std::optional<level> find(const QString &name, const QString &procedure) const;
    bool nameTaken(const QString &name) const;
    // The fields as a row, texts cleaned and colours translated.
    level fieldsRow() const;
    bool saveRow(const level &row, bool insert, const QString &procedure);
    void fail(const QString &procedure, const QString &error) const;

    Context m_ctx;
    bool m_changed = false;
    bool m_loading = false;
};
