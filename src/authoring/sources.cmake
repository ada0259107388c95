# The logic of the composers, the reply form, the selection and the group and
# role editors.
set(AUTHORING_LOGIC_SOURCES
    authoring/AdminsEditForm.cpp authoring/AdminsEditForm.h
    authoring/AuthoringContext.h
    authoring/AuthoringTexts.h
    authoring/FormHints.cpp authoring/FormHints.h
    authoring/GroupEditForm.cpp authoring/GroupEditForm.h
    authoring/MessageForm.cpp authoring/MessageForm.h
    authoring/ReplyForm.cpp authoring/ReplyForm.h
    authoring/SelectionList.cpp authoring/SelectionList.h
)
# Their windows.
set(AUTHORING_SOURCES
    authoring/FormFields.cpp authoring/FormFields.h
    authoring/Selection.cpp authoring/Selection.h
    authoring/frmAdminsEdit.cpp authoring/frmAdminsEdit.h authoring/frmAdminsEdit.ui
    authoring/frmGroupEdit.cpp authoring/frmGroupEdit.h authoring/frmGroupEdit.ui
    authoring/frmMessage.cpp authoring/frmMessage.h authoring/frmMessage.ui
    authoring/frmReply.cpp authoring/frmReply.h authoring/frmReply.ui
    authoring/frmSelection.cpp authoring/frmSelection.h authoring/frmSelection.ui
)
