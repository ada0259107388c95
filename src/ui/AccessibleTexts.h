#pragma once

// The numbers of the names read out for controls that show no caption of their
// own, and of what the keyboard reaches in place of the mouse (French at each
// number plus 10000).
namespace AccessibleTexts {
enum : int {
    FieldHelp = 1300,
    RepeatUnit,
    NextRunTime,
    ExpirationTime,
    ConsoleLists,
    Play,
    Stop,
    Properties,
    SortAscending,
    SortDescending,
};
} // namespace AccessibleTexts
