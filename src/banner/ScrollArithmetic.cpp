#include "banner/ScrollArithmetic.h"

#include <cmath>
#include <limits>

ScrollArithmetic::ScrollArithmetic(double twipsPerPixelX, double twipsPerPixelY)
    : TwipsPerPixelX(twipsPerPixelX), TwipsPerPixelY(twipsPerPixelY)
{
}

qint32 ScrollArithmetic::Round(double value)
{
    // The default rounding mode of nearbyint sends ties to the even neighbour.
    const double rounded = std::nearbyint(value);
    if (std::isnan(rounded))
        return 0;
    if (rounded >= double(std::numeric_limits<qint32>::max()))
        return std::numeric_limits<qint32>::max();
    if (rounded <= double(std::numeric_limits<qint32>::min()))
        return std::numeric_limits<qint32>::min();
    return qint32(rounded);
}

qint32 ScrollArithmetic::StripHeightTwips(double lineHeightTwips, int borderStyle)
{
    return Round(lineHeightTwips * 1.2 + borderStyle * 60);
}

bool ScrollArithmetic::SetSpeed(qint32 speed)
{
    if (speed < MinSpeed || speed > MaxSpeed)
        return false;
    Speed = speed;
    return true;
}

qint32 ScrollArithmetic::TimerIntervalMs() const
{
    // Only a loaded property bag can bring a speed below 1; it must not divide by zero here.
    return Speed > 0 ? Round(1000.0 / Speed) : 1000;
}

void ScrollArithmetic::SetPixelsPerSpeed(qint32 pixels)
{
    // A bad value multiplies the present step again, making it fifteen times larger: kept on purpose.
    const double value =
        (pixels >= MinPixelsPerSpeed && pixels <= MaxPixelsPerSpeed) ? pixels : PixelsPerSpeedTwips;
    PixelsPerSpeedTwips = Round(value * TwipsPerPixelX);
}

qint32 ScrollArithmetic::PixelsPerSpeed() const
{
    return Round(PixelsPerSpeedTwips / TwipsPerPixelX);
}

void ScrollArithmetic::Resize(double controlWidthTwips)
{
    ControlWidthPx = Round(controlWidthTwips / TwipsPerPixelX);
}

ScrollArithmetic::TextLayout ScrollArithmetic::WriteText(double textWidthTwips, double controlWidthTwips,
                                                         double controlHeightTwips, bool restart)
{
    Resize(controlWidthTwips);
    TextWidthPx = Round(textWidthTwips / TwipsPerPixelX);
    if (restart) {
        ScrollX = 0;
        DisplayedRaised = false;
    }
    // The literal 15, not TwipsPerPixelY: the strip's height in pixels is only right at 96 DPI.
    ControlHeightPx = Round(controlHeightTwips / 15);

    TextLayout layout;
    layout.Needed = TextWidthPx + 2 * ControlWidthPx;
    // One screen width more than fits, so that small changes of text keep the picture's size.
    layout.Stripes = ScreenWidthPx > 0 ? layout.Needed / ScreenWidthPx + 1 : 1;
    layout.PictureWidthPx = ScreenWidthPx * layout.Stripes;
    // Rectangles as left, top, right and bottom edges with the right and bottom edges excluded.
    layout.ShadowRect = QRect(ControlWidthPx + 1, 1, TextWidthPx, ControlHeightPx);
    layout.TextRect = QRect(ControlWidthPx, 0, TextWidthPx, ControlHeightPx);

    LoopEnd = Round((controlWidthTwips + textWidthTwips) / TwipsPerPixelX);
    return layout;
}

ScrollArithmetic::TickResult ScrollArithmetic::Tick()
{
    TickResult result;
    ScrollX = Round(ScrollX + PixelsPerSpeedTwips / TwipsPerPixelX);
    result.CopyX = ScrollX;
    if (ScrollX >= TextWidthPx && !DisplayedRaised) {
        DisplayedRaised = true;
        result.Displayed = true;
    }
    // The wrap waits for this test, so the strip shows blank background until the next tick.
    if (ScrollX >= LoopEnd) {
        ScrollX = 0;
        DisplayedRaised = false;
        result.Looped = true;
    }
    return result;
}
