// Closing windows with a fade.
#pragma once

#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <vector>

/**
    Fades windows out and closes them once they are fully transparent: every 0.01 s each
    window handed over loses 0.05 of opacity, so a window at full opacity closes after 20
    steps (about 0.2 s). One shared instance, fadeOut(), serves the whole process and fades
    any number of windows at once.

    The windows form a set: adding a window twice fades it once. A window that is destroyed
    while it fades simply leaves the set. Opacity is read and written exactly through
    PvWindow::alphaValue() for PvWindows, else through Qt's window opacity (which Qt keeps
    in steps of 1/255, so such a window may take one step more).

    The timer runs only while windows fade, and only in the main event loop: while a modal
    dialog runs or a mouse button is held (mouse tracking), fading pauses.

    Windows are used on the main thread only; the set is guarded by a lock.
*/
class FadeOut : public QObject {
    Q_OBJECT
public:
    /// The opacity lost per step, and the interval between steps in seconds.
    static constexpr double kStep = 0.05;
    static constexpr double kInterval = 0.01;

    /// The shared instance, created on first use.
    static FadeOut* fadeOut();

    /// Starts fading window; null is ignored. A window already fading is not added again.
    void addWindow(QWidget* window);
    /// Stops fading window; its opacity stays where it is. The timer stops on the next step
    /// when nothing is left.
    void removeWindow(QWidget* window);

    /// Starts the timer when windows fade and none runs; stops it when none fade.
    void destroyAndCreateTimer();
    /// One step: lowers every opacity by kStep (never below 0), closes the transparent
    /// windows, then stops the timer when nothing is left.
    void updateAlphaValues();
    /// Closes the windows whose opacity is 0 and keeps the others.
    void testForRemoval();

    /// Whether window is being faded.
    bool isFading(const QWidget* window) const;
    int windowCount() const;
    /// The fade timer while it runs, else null.
    QTimer* faderTimer() const { return m_faderTimer; }

private:
    explicit FadeOut(QObject* parent);
    void tick();

    static FadeOut* fadeOutInstance;
    std::vector<QPointer<QWidget>> m_windowSet;
    QTimer* m_faderTimer = nullptr;
    mutable QMutex m_lock;
};
