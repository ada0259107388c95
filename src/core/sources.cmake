set(CORE_SOURCES
    core/AppPaths.cpp core/AppPaths.h
    core/ClientMenu.cpp core/ClientMenu.h
    core/Clock.cpp core/Clock.h
    core/Failure.cpp core/Failure.h
    core/Frontend.cpp core/Frontend.h
    core/Globals.cpp core/Globals.h
    core/IniFile.cpp core/IniFile.h
    core/Languages.cpp core/Languages.h
    core/Log.cpp core/Log.h
    core/OptionKeys.cpp core/OptionKeys.h
    core/Options.cpp core/Options.h
    core/OsInfo.cpp core/OsInfo.h
    core/PropertyRows.cpp core/PropertyRows.h
    core/Session.h
    core/StringTable.cpp core/StringTable.h
    core/Ticker.cpp core/Ticker.h
    core/UserInfos.cpp core/UserInfos.h
    core/UserStore.cpp core/UserStore.h
)
