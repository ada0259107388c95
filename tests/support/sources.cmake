list(APPEND SUPPORT_SOURCES
    support/ClientProcess.cpp support/ClientProcess.h
    support/AuthoringFixture.h support/FakeClock.h support/LogText.h support/StoreFixture.h
    support/ModalDialog.h support/Untranslated.h
    support/FakeServer.cpp support/FakeServer.h
    support/RecordingFrontend.cpp support/RecordingFrontend.h
    support/TempProfile.cpp support/TempProfile.h
)
