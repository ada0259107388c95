#pragma once

#include <QRect>
#include <QtGlobal>

// The scrolling strip's arithmetic in twips and whole pixels, free of any screen so that
// every step of a pass can be driven and checked without drawing.
class ScrollArithmetic
{
public:
    // What one WriteText lays out in the off-screen picture, in its pixels.
    struct TextLayout
    {
        qint32 Needed = 0;
        qint32 Stripes = 1;
        qint32 PictureWidthPx = 0;
        QRect ShadowRect;
        QRect TextRect;
    };

    // CopyX is where the tick's copy starts: the position after the step and before any wrap.
    struct TickResult
    {
        qint32 CopyX = 0;
        bool Displayed = false;
        bool Looped = false;
    };

    static constexpr qint32 MinSpeed = 1;
    static constexpr qint32 MaxSpeed = 100;
    static constexpr qint32 MinPixelsPerSpeed = 1;
    static constexpr qint32 MaxPixelsPerSpeed = 20;

    explicit ScrollArithmetic(double twipsPerPixelX = 15, double twipsPerPixelY = 15);

    // Nearest integer, a tie going to the even neighbour; clamped to the 32-bit range.
    static qint32 Round(double value);
    // Height of the strip from the height of one line of the font, both in twips.
    static qint32 StripHeightTwips(double lineHeightTwips, int borderStyle);

    // Out-of-range values are ignored; returns whether the value was taken.
    bool SetSpeed(qint32 speed);
    qint32 TimerIntervalMs() const;
    void SetPixelsPerSpeed(qint32 pixels);
    qint32 PixelsPerSpeed() const;

    void Resize(double controlWidthTwips);
    TextLayout WriteText(double textWidthTwips, double controlWidthTwips, double controlHeightTwips,
                         bool restart);
    TickResult Tick();

    double TwipsPerPixelX;
    double TwipsPerPixelY;
    qint32 ScreenWidthPx = 0;
    qint32 ControlWidthPx = 0;
    qint32 ControlHeightPx = 0;
    qint32 ScrollX = 0;
    qint32 LoopEnd = 0;
    qint32 TextWidthPx = 0;
    qint32 Speed = 8;
    qint32 PixelsPerSpeedTwips = 30;
    bool DisplayedRaised = false;
};
