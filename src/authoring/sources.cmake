# The logic of the composers, the reply form and the selection: no widgets,
# compiled under the engine's rules.
set(AUTHORING_LOGIC_SOURCES
    authoring/AuthoringContext.h
    authoring/AuthoringTexts.h
    authoring/FormHints.cpp authoring/FormHints.h
    authoring/GroupEditForm.cpp authoring/GroupEditForm.h
    authoring/MessageForm.cpp authoring/MessageForm.h
    authoring/ReplyForm.cpp authoring/ReplyForm.h
    authoring/SelectionList.cpp authoring/SelectionList.h
)
# The widgets above it.
list(APPEND UI_SOURCES
    authoring/FormFields.cpp authoring/FormFields.h
    authoring/HintPane.cpp authoring/HintPane.h
    authoring/LevelDelegate.cpp authoring/LevelDelegate.h
    authoring/Selection.cpp authoring/Selection.h
    authoring/frmGroupEdit.cpp authoring/frmGroupEdit.h authoring/frmGroupEdit.ui
    authoring/frmMessage.cpp authoring/frmMessage.h authoring/frmMessage.ui
    authoring/frmReply.cpp authoring/frmReply.h authoring/frmReply.ui
    authoring/frmSelection.cpp authoring/frmSelection.h authoring/frmSelection.ui
)
