set(ENGINE_SOURCES
    engine/EngineRoutes.cpp
    engine/FormRequests.cpp
    engine/KorvanClient.cpp engine/KorvanClient.h
    engine/ProcessGlobals.cpp engine/ProcessGlobals.h
    engine/ProgramStart.cpp engine/ProgramStart.h
)
