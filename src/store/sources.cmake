list(APPEND ENGINE_SOURCES
    store/DateText.cpp store/DateText.h
    store/DVMessage.cpp store/DVMessage.h
    store/MessageCodes.h
)
