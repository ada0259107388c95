# The editors' logic: levels, options, policies, the server's configuration.
set(EDITORS_LOGIC_SOURCES
    editors/ClientConfigForm.cpp editors/ClientConfigForm.h
    editors/LevelEditForm.cpp editors/LevelEditForm.h
    editors/PoliciesForm.cpp editors/PoliciesForm.h
    editors/ServerConfigForm.cpp editors/ServerConfigForm.h
)
# Their windows.
set(EDITORS_SOURCES
    editors/frmClientConfig.cpp editors/frmClientConfig.h editors/frmClientConfig.ui
    editors/frmConfigServer.cpp editors/frmConfigServer.h editors/frmConfigServer.ui
    editors/frmLevelEdit.cpp editors/frmLevelEdit.h editors/frmLevelEdit.ui
    editors/frmPolicies.cpp editors/frmPolicies.h editors/frmPolicies.ui
)
