#pragma once

// The numbers of the texts of the composers, the reply form and the selection
// dialog in the string table (French at each number plus 10000).
namespace AuthoringTexts {
enum : int {
    // Followed by the ID; one per mode of the composer, in mode order.
    TitleNewMessage = 1000,
    LabelSubject = 1010,
    LabelText,
    LabelTarget,
    LabelLink,
    LabelLevel,
    LabelDelivery,
    LabelRepeat,
    LabelNextRun,
    LabelExpiration,
    CheckReply,
    CheckReceipt,
    CheckNotify,
    CheckExactTime,
    CheckBroadcast,
    // "Immediate" to "Scheduled".
    DeliveryFirst = 1030,
    // "Minutes" to "Logon".
    RepeatFirst = 1040,
    LevelColumnName = 1050,
    LevelColumnDescription,
    VariablePrompt = 1060,
    VariableTitle,
    WrongLocationText,
    WrongLocationTitle,
    WrongTypeText,
    WrongTypeTitle,
    ExactTimeText,
    ExactTimeQuestion,
    ExactTimeTitle,
    // "Title|body" of each control, in the order of HintControls().
    HintFirst = 1070,
    LabelPreview = 1095,
    FileFilter,
    ReplyCaption = 1100,
    LabelOriginal,
    // The title of the selection dialog, one per kind.
    SelectionTitleFirst = 1150,
    SelectAll = 1155,
    UnselectAll,
    ColumnName,
    ColumnDescription,
    // The group editor's title, one per mode.
    GroupTitleFirst = 1160,
    GroupLabelName = 1164,
    GroupLabelDescription,
    GroupExists,
    GroupExistsPersonal,
    GroupExistsShared,
    // The package composer's title, one per mode, and its Mandatory box.
    PackageTitleFirst = 1170,
    CheckMandatory = 1173,
    HintMandatory,
    // A composer being written when a new ID arrives for it: replace it?
    ReplaceText = 1188,
    ReplaceTitle,
    // A Scheduled record that expires before it starts.
    DatesText,
    DatesTitle,
    // A group the store could not keep.
    GroupNotSaved,
    GroupNotSavedTitle,
};
} // namespace AuthoringTexts
