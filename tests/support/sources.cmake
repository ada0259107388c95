list(APPEND SUPPORT_SOURCES
    support/FakeClock.h
    support/FakeServer.cpp support/FakeServer.h
    support/RecordingFrontend.cpp support/RecordingFrontend.h
    support/TempProfile.cpp support/TempProfile.h
)
