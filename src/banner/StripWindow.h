#pragma once

#include <QAbstractNativeEventFilter>
#include <QColor>
#include <QPointer>
#include <QRect>

#include <cstdint>
#include <memory>

class QPixmap;
class QWidget;
struct xcb_connection_t;

// The scrolling strip drawn by the X server itself: the rendered picture is kept in a server
// pixmap, and showing a block of it is one copy into a child window laid over the strip. A
// tick then costs one small request, where a repaint of the widget would run the toolkit's
// paint, flush and sync for every frame. The window selects no input, so the pointer still
// reaches the widget under it, its cursor and its tooltip.
class StripWindow final : public QAbstractNativeEventFilter
{
public:
    // Null unless the application draws on an X server. The picture is the widget's own, read
    // when it goes to the server.
    static std::unique_ptr<StripWindow> Create(QWidget *area, const QPixmap &picture);
    // A rectangle in logical pixels as it lands on the device's pixels.
    static QRect DeviceRect(const QRect &logical, qreal ratio);
    ~StripWindow() override;
    StripWindow(const StripWindow &) = delete;
    StripWindow &operator=(const StripWindow &) = delete;

    // The picture was drawn or cleared: it goes to the server before the next block is shown.
    void PictureChanged(const QColor &background);
    // Shows the block of the picture that starts x logical pixels in (the background alone when x
    // is negative) over the area. False when it cannot be shown this way now: the window is then
    // out of sight and the caller paints the strip.
    bool ShowBlock(int x);
    // Takes the window away, so that what the widget paints shows.
    void Hide();

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    StripWindow(QWidget *area, const QPixmap &picture, xcb_connection_t *connection);
    bool Prepare();
    bool CreateWindow(std::uint32_t parent);
    bool Upload();
    void Draw();
    void Fill(const QRect &rect);
    bool ParentAlive() const;

    QPointer<QWidget> m_area;
    const QPixmap &m_picture;
    xcb_connection_t *m_connection = nullptr;
    QColor m_background;
    bool m_uploaded = false;
    int m_x = -1;
    std::uint32_t m_parent = 0;
    std::uint32_t m_window = 0;
    std::uint32_t m_pixmap = 0;
    std::uint32_t m_gc = 0;
    std::uint8_t m_depth = 0;
    // A parent whose visual this cannot draw on: the widget paints the strip for as long as it lives.
    bool m_unsupported = false;
    // A picture wider than a copy can reach into: the widget paints it until the next one.
    bool m_tooLarge = false;
    bool m_mapped = false;
    QSize m_pixmapSize;
    QRect m_geometry;
};
