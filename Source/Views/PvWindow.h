// The common base of the framework's windows.
#pragma once

#include <QStringList>
#include <QWidget>

#include <optional>

class PvWindow;

/**
    Optional messages a window sends to its delegate. Every message has a default that
    means "the delegate does not answer it". The window does not own its delegate; the
    delegate must outlive the window or be reset to null first.
*/
class PvWindowDelegate {
public:
    virtual ~PvWindowDelegate();
    /// Asked while the user resizes a window by dragging: the size to use instead of
    /// proposedSize, or nullopt to keep it.
    virtual std::optional<QSize> windowWillResize(PvWindow* window, const QSize& proposedSize);
    /// Asked once by a textured window's frame: ten image names (a null QString for "no
    /// image" at that place), or nullopt for the frame's own set.
    virtual std::optional<QStringList> texturedWindowGetImageNamesSet(PvWindow* window);
};

/**
    A top-level window with two additions: the Qt tool tips of its widgets can be switched
    off (the shared tool-tip window does so while it is attached), and closing can be
    blocked (setWindowIsClosable(false) makes close() and the close button do nothing).

    It also keeps its opacity as an exact float (alphaValue()), which Qt stores in steps of
    1/255; FadeOut counts its steps on it.

    Main thread only.
*/
class PvWindow : public QWidget {
    Q_OBJECT
public:
    explicit PvWindow(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::Window);
    ~PvWindow() override;

    /// Whether Qt tool tips may show for the widgets of this window (default true).
    bool showToolTip() const { return m_showToolTip; }
    void setShowToolTip(bool show);

    /// Whether the window may be closed (default true). A blocked window ignores close().
    bool windowIsClosable() const { return !m_preventFromClosing; }
    void setWindowIsClosable(bool closable);
    /// Closes the window as its close button would; returns whether it closed.
    virtual bool performClose();

    /// The opacity from 0 to 1 (clamped), kept exactly.
    float alphaValue() const { return m_alphaValue; }
    void setAlphaValue(float alpha);

    PvWindowDelegate* delegate() const { return m_delegate; }
    void setDelegate(PvWindowDelegate* delegate) { m_delegate = delegate; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool m_showToolTip = true;
    bool m_preventFromClosing = false;
    float m_alphaValue = 1.0f;
    PvWindowDelegate* m_delegate = nullptr;
};
