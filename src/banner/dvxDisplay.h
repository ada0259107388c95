#pragma once

#include "banner/ScrollArithmetic.h"

#include <QFont>
#include <QPixmap>
#include <QVariantMap>
#include <QWidget>

#include <memory>

class QLabel;
class QTimer;
class QToolButton;
class StripWindow;

// One line of text sliding from the right edge of a strip to the left, with a one-pixel
// shadow, and under the strip three small buttons and the sender's caption. The text is
// drawn once per WriteText into an off-screen picture; each tick copies one block of it, on an
// X server by the server itself into the strip's own window (StripWindow).
// The control knows nothing of messages: it tells its owner when the end of the text has
// come into view (Displayed) and when the text has left the strip (Looped).
class dvxDisplay final : public QWidget
{
    Q_OBJECT
public:
    static constexpr quint32 WindowBackground = 0x80000005u;
    static constexpr quint32 WindowText = 0x80000008u;
    static constexpr int HandPointer = 99;

    explicit dvxDisplay(QWidget *parent = nullptr);
    ~dvxDisplay() override;

    // Colours are stored colour values: blue-green-red, or a system colour index.
    quint32 BackColor() const { return m_backColor; }
    void SetBackColor(quint32 color);
    int MousePointer() const { return m_mousePointer; }
    void SetMousePointer(int pointer);
    quint32 ForeColor() const { return m_foreColor; }
    void SetForeColor(quint32 color) { m_foreColor = color; }
    QFont Font() const { return m_font; }
    // The control's height follows the font at once.
    void SetFont(const QFont &font);
    int BorderStyle() const { return m_borderStyle; }
    void SetBorderStyle(int style);
    void Cls();
    bool FontBold() const { return m_font.bold(); }
    void SetFontBold(bool bold) { m_font.setBold(bold); }
    bool FontItalic() const { return m_font.italic(); }
    void SetFontItalic(bool italic) { m_font.setItalic(italic); }
    QString FontName() const { return m_font.family(); }
    void SetFontName(const QString &name) { m_font.setFamily(name); }
    double FontSize() const { return m_font.pointSizeF(); }
    void SetFontSize(double points);
    bool FontUnderline() const { return m_font.underline(); }
    void SetFontUnderline(bool underline) { m_font.setUnderline(underline); }
    QString ToolTipText() const;
    void SetToolTipText(const QString &tip);
    QString Text() const { return m_text; }
    void SetText(const QString &text);
    int Speed() const { return m_scroll.Speed; }
    void SetSpeed(int speed);
    int PixelsPerSpeed() const { return m_scroll.PixelsPerSpeed(); }
    void SetPixelsPerSpeed(int pixels) { m_scroll.SetPixelsPerSpeed(pixels); }
    quint32 ShadowColor() const { return m_shadowColor; }
    void SetShadowColor(quint32 color) { m_shadowColor = color; }
    void WriteText(bool Restart);
    // The picture is made of whole screen widths: a new screen takes effect at the next WriteText.
    void SetScreenWidth(int pixels) { m_scroll.ScreenWidthPx = pixels; }
    void SetEnabled(bool enabled);
    void SetReplyEnabled(bool enabled);
    void SetLinkEnabled(bool enabled);
    void SetDetailsHint(const QString &hint);
    void SetLinkHint(const QString &hint);
    void SetReplyHint(const QString &hint);
    void SetFromInfo(const QString &info);

    // Persisted properties: loading assigns without the writers' range checks; saving leaves
    // out every property at its default.
    void ReadProperties(const QVariantMap &bag);
    QVariantMap WriteProperties() const;

    void Timer1_Timer();

    const QPixmap &Picture2() const { return m_picture2; }
    const ScrollArithmetic &Scroll() const { return m_scroll; }

    bool ShowShadow = true;

    QTimer *Timer1 = nullptr;
    QWidget *Picture1 = nullptr;
    QToolButton *cmdDetails = nullptr;
    QToolButton *cmdReply = nullptr;
    QToolButton *cmdLink = nullptr;
    QLabel *lblFrom = nullptr;

Q_SIGNALS:
    void Details();
    void Reply();
    void Click();
    void Change();
    void Hide();
    void Resize();
    void Looped();
    void Displayed();
    void DblClick();
    // Key codes: letters and digits as capitals, F1 as 112; shift is 1 Shift, 2 Ctrl, 4 Alt.
    void KeyDown(int keyCode, int shift);
    void KeyUp(int keyCode, int shift);
    void KeyPress(int keyAscii);
    // Button is 1 left, 2 right, 4 middle; x and y are in twips from the source's corner.
    void MouseDown(int button, int shift, double x, double y);
    void MouseMove(int button, int shift, double x, double y);
    void MouseUp(int button, int shift, double x, double y);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void RunResizeLogic();
    void StartTimer();
    void ClearPicture2();
    // Shows the block on show through the strip's own window when there is one; false when the
    // widget must paint it.
    bool ShowOnServer();
    bool ForwardMouse(QWidget *source, QEvent *event);
    bool ForwardKey(QEvent *event);
    int PxX(double twips) const { return ScrollArithmetic::Round(twips / m_scroll.TwipsPerPixelX); }
    int PxY(double twips) const { return ScrollArithmetic::Round(twips / m_scroll.TwipsPerPixelY); }

    // Shared by all instances, as the guard against re-entering the resize logic.
    static bool Resizing;

    ScrollArithmetic m_scroll;
    QPixmap m_picture2;
    std::unique_ptr<StripWindow> m_stripWindow;
    QFont m_font;
    QFont m_ambientFont;
    QString m_text;
    quint32 m_backColor = WindowBackground;
    quint32 m_foreColor = WindowText;
    quint32 m_shadowColor = WindowText;
    int m_borderStyle = 0;
    int m_backStyle = 0;
    int m_mousePointer = 0;
    // Left edge in Picture2 of the block on show; negative while the strip is cleared.
    int m_copyX = -1;
    bool m_doubleClicked = false;
};
