#include "banner/StripWindow.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QSysInfo>
#include <QWidget>
#include <QtGui/qguiapplication_platform.h>

#include <cstdlib>
#include <xcb/xcb.h>

namespace {

template <typename Reply>
using ReplyPtr = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply>
ReplyPtr<Reply> Owned(Reply *reply)
{
    return ReplyPtr<Reply>(reply, &std::free);
}

// Whether pixels of a window of this visual and depth are laid out as a 32-bit QImage's are.
bool SameLayoutAsImage(const xcb_setup_t *setup, xcb_visualid_t visualId, std::uint8_t depth)
{
    const auto hostOrder =
        QSysInfo::ByteOrder == QSysInfo::LittleEndian ? XCB_IMAGE_ORDER_LSB_FIRST : XCB_IMAGE_ORDER_MSB_FIRST;
    if (setup->image_byte_order != hostOrder)
        return false;
    bool fourBytes = false;
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem; xcb_format_next(&format))
        if (format.data->depth == depth)
            fourBytes = format.data->bits_per_pixel == 32;
    if (!fourBytes)
        return false;
    for (auto screen = xcb_setup_roots_iterator(setup); screen.rem; xcb_screen_next(&screen))
        for (auto depths = xcb_screen_allowed_depths_iterator(screen.data); depths.rem;
             xcb_depth_next(&depths))
            for (auto visual = xcb_depth_visuals_iterator(depths.data); visual.rem;
                 xcb_visualtype_next(&visual))
                if (visual.data->visual_id == visualId)
                    return visual.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR &&
                           visual.data->red_mask == 0xFF0000 && visual.data->green_mask == 0xFF00 &&
                           visual.data->blue_mask == 0xFF;
    return false;
}

} // namespace

std::unique_ptr<StripWindow> StripWindow::Create(QWidget *area, const QPixmap &picture)
{
    const auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11 || !x11->connection())
        return nullptr;
    return std::unique_ptr<StripWindow>(new StripWindow(area, picture, x11->connection()));
}

QRect StripWindow::DeviceRect(const QRect &logical, qreal ratio)
{
    // Edges rounded rather than sizes, so that neighbouring rectangles still meet.
    const int left = qRound(logical.x() * ratio);
    const int top = qRound(logical.y() * ratio);
    return QRect(left, top, qRound((logical.x() + logical.width()) * ratio) - left,
                 qRound((logical.y() + logical.height()) * ratio) - top);
}

StripWindow::StripWindow(QWidget *area, const QPixmap &picture, xcb_connection_t *connection)
    : m_area(area), m_picture(picture), m_connection(connection)
{
    qGuiApp->installNativeEventFilter(this);
}

StripWindow::~StripWindow()
{
    if (!qGuiApp)
        return;
    qGuiApp->removeNativeEventFilter(this);
    if (m_pixmap)
        xcb_free_pixmap(m_connection, m_pixmap);
    if (m_gc)
        xcb_free_gc(m_connection, m_gc);
    if (m_window && ParentAlive())
        xcb_destroy_window(m_connection, m_window);
    xcb_flush(m_connection);
}

void StripWindow::PictureChanged(const QColor &background)
{
    m_background = background;
    m_uploaded = false;
    m_tooLarge = false;
}

bool StripWindow::ShowBlock(int x)
{
    m_x = x;
    if (!Prepare()) {
        Hide();
        return false;
    }
    Draw();
    return true;
}

void StripWindow::Hide()
{
    if (!m_mapped)
        return;
    m_mapped = false;
    if (ParentAlive()) {
        xcb_unmap_window(m_connection, m_window);
        xcb_flush(m_connection);
    }
}

bool StripWindow::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (!m_window || eventType != QByteArrayLiteral("xcb_generic_event_t"))
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7F) != XCB_EXPOSE)
        return false;
    // The toolkit does not know the window, so its exposures are answered here.
    const auto *expose = static_cast<const xcb_expose_event_t *>(message);
    if (expose->window == m_window && expose->count == 0 && m_mapped && Prepare())
        Draw();
    return false;
}

bool StripWindow::Prepare()
{
    if (m_unsupported || m_tooLarge || !m_area || !m_area->isVisible())
        return false;
    QWidget *top = m_area->window();
    const auto parent = std::uint32_t(top->internalWinId());
    const qreal ratio = top->devicePixelRatioF();
    // A picture drawn for another density is the widget's to scale, until the next one is drawn.
    if (!parent || (!m_picture.isNull() && m_picture.devicePixelRatio() != ratio))
        return false;
    const QRect geometry = DeviceRect(QRect(m_area->mapTo(top, QPoint(0, 0)), m_area->size()), ratio);
    if (geometry.isEmpty())
        return false;
    if (parent != m_parent) {
        // A new parent: the old window went with the old one. Until one is made, the parent counts
        // as new, so that no request names a window that does not exist.
        m_window = 0;
        m_mapped = false;
        m_geometry = geometry;
        if (!CreateWindow(parent))
            return false;
        m_parent = parent;
    } else if (geometry != m_geometry) {
        m_geometry = geometry;
        const std::uint32_t values[] = {std::uint32_t(geometry.x()), std::uint32_t(geometry.y()),
                                        std::uint32_t(geometry.width()), std::uint32_t(geometry.height())};
        xcb_configure_window(m_connection, m_window,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             values);
    }
    if (!m_uploaded && !Upload())
        return false;
    if (!m_mapped) {
        xcb_map_window(m_connection, m_window);
        m_mapped = true;
    }
    return true;
}

bool StripWindow::CreateWindow(std::uint32_t parent)
{
    const auto attributes = Owned(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, parent), nullptr));
    const auto geometry =
        Owned(xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, parent), nullptr));
    if (!attributes || !geometry)
        return false;
    if (!SameLayoutAsImage(xcb_get_setup(m_connection), attributes->visual, geometry->depth)) {
        m_unsupported = true;
        return false;
    }
    if (m_depth != geometry->depth && m_pixmap) {
        xcb_free_pixmap(m_connection, m_pixmap);
        m_pixmap = 0;
        m_pixmapSize = QSize();
        m_uploaded = false;
    }
    m_depth = geometry->depth;

    m_window = xcb_generate_id(m_connection);
    // No background of its own: an exposure keeps what is there until the copy below covers it.
    const std::uint32_t values[] = {XCB_BACK_PIXMAP_NONE, XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, parent, std::int16_t(m_geometry.x()),
                      std::int16_t(m_geometry.y()), std::uint16_t(m_geometry.width()),
                      std::uint16_t(m_geometry.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXMAP | XCB_CW_EVENT_MASK, values);
    if (!m_gc) {
        m_gc = xcb_generate_id(m_connection);
        // Copies within the server never ask for exposure events.
        const std::uint32_t exposures[] = {0};
        xcb_create_gc(m_connection, m_gc, m_window, XCB_GC_GRAPHICS_EXPOSURES, exposures);
    }
    return true;
}

bool StripWindow::Upload()
{
    if (m_picture.isNull()) {
        m_uploaded = true;
        return true;
    }
    // The protocol's copy reads from 16-bit signed offsets: a longer line is the widget's to paint.
    if (m_picture.width() > 32767 || m_picture.height() > 32767) {
        m_tooLarge = true;
        return false;
    }
    const QImage image = m_picture.toImage().convertToFormat(QImage::Format_RGB32);
    const int stride = int(image.bytesPerLine());
    const std::uint32_t maxBytes = xcb_get_maximum_request_length(m_connection) * 4;
    const auto header = std::uint32_t(sizeof(xcb_put_image_request_t));
    if (maxBytes <= header + std::uint32_t(stride))
        return false;
    if (image.size() != m_pixmapSize) {
        if (m_pixmap)
            xcb_free_pixmap(m_connection, m_pixmap);
        m_pixmap = xcb_generate_id(m_connection);
        xcb_create_pixmap(m_connection, m_depth, m_pixmap, m_window, std::uint16_t(image.width()),
                          std::uint16_t(image.height()));
        m_pixmapSize = image.size();
    }
    // Once per picture, in requests no larger than the server takes.
    const int rowsPerRequest = int((maxBytes - header) / std::uint32_t(stride));
    for (int y = 0; y < image.height(); y += rowsPerRequest) {
        const int rows = qMin(rowsPerRequest, image.height() - y);
        xcb_put_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_pixmap, m_gc, std::uint16_t(image.width()),
                      std::uint16_t(rows), 0, std::int16_t(y), 0, m_depth, std::uint32_t(rows * stride),
                      image.constScanLine(y));
    }
    m_uploaded = true;
    return true;
}

void StripWindow::Draw()
{
    const int width = m_geometry.width();
    const int height = m_geometry.height();
    int copied = 0;
    if (m_x >= 0 && !m_picture.isNull()) {
        const int left = qRound(m_x * m_picture.devicePixelRatio());
        const int rows = qMin(height, m_pixmapSize.height());
        copied = qBound(0, m_pixmapSize.width() - left, width);
        if (copied > 0)
            xcb_copy_area(m_connection, m_pixmap, m_window, m_gc, std::int16_t(left), 0, 0, 0,
                          std::uint16_t(copied), std::uint16_t(rows));
        if (rows < height)
            Fill(QRect(0, rows, copied, height - rows));
    }
    // A block reaching past the picture's right edge shows background there.
    if (copied < width)
        Fill(QRect(copied, 0, width - copied, height));
    xcb_flush(m_connection);
}

void StripWindow::Fill(const QRect &rect)
{
    if (rect.isEmpty())
        return;
    const std::uint32_t pixel[] = {m_background.rgb() & (m_depth >= 32 ? 0xFFFFFFFFu : 0xFFFFFFu)};
    xcb_change_gc(m_connection, m_gc, XCB_GC_FOREGROUND, pixel);
    const xcb_rectangle_t box{std::int16_t(rect.x()), std::int16_t(rect.y()), std::uint16_t(rect.width()),
                              std::uint16_t(rect.height())};
    xcb_poly_fill_rectangle(m_connection, m_window, m_gc, 1, &box);
}

bool StripWindow::ParentAlive() const
{
    return m_window && m_area && std::uint32_t(m_area->window()->internalWinId()) == m_parent;
}
