#pragma once

#include <memory>

class KorvanClient;

// Program entry after the single-instance test: data folder, settings, the
// trace question, the log, the operating system, the user, the language, and
// the engine's load with its retries.
class ProgramStart
{
public:
    static constexpr int LoadRetries = 5;

    // The loaded engine, or nullptr when its load failed for the sixth time
    // (logged; the process then ends).
    static std::unique_ptr<KorvanClient> Run();

    // Steps of the start, each usable on its own.
    static void PrepareDataFolder();
    static void ReadSettings();
    static void AskAboutTrace();
    static void FindUserName();
    static void SetLanguage();
};
