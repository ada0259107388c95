set(STORE_SOURCES
    store/Database.cpp store/Database.h
    store/DateText.cpp store/DateText.h
    store/DBFunctions.cpp store/DBFunctions.h
    store/DVMessage.cpp store/DVMessage.h
    store/LevelCollection.cpp store/LevelCollection.h
    store/level.h
    store/MessageCodes.h
    store/Schema.cpp store/Schema.h
)
