// The process-wide notification centre of the user-interface layer.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <vector>

/// The tracking notifications: value cells post them around every mouse-tracking
/// sequence with the cell as object, so hosts can bracket undo groups or automation.
inline const QString PvStartTrackingNotification = QStringLiteral("StartTracking");
inline const QString PvStopTrackingNotification = QStringLiteral("StopTracking");

/**
    One notification: a name, the object it is about and optional user info.

    The object is an identity, not an owned pointer: cells are plain C++ objects, so it is
    kept as an untyped address and compared, never dereferenced by the centre.
*/
struct PvNotification {
    QString name;
    const void* object = nullptr;
    QVariantMap userInfo;
};

/**
    Broadcasts notifications to observers registered by name and, optionally, by object.

    There is one centre per process (defaultCenter()). Observers are registered with a
    QObject that owns the registration: when that QObject is destroyed the registration
    ends by itself, so a destroyed observer is never called. Observers are called in the
    order they registered. An observer may add or remove observers (itself included) while
    a notification is delivered; changes take effect for the next notification.

    enqueueNotification() is the "post when idle" variant: the notification is delivered
    from the event loop once control returns to it, and equal pending notifications (same
    name and object) are coalesced into one.

    Main thread only.
*/
class PvNotificationCenter : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<void(const PvNotification&)>;

    /// The shared centre, created on first use; never null.
    static PvNotificationCenter* defaultCenter();

    /// Registers handler for notifications named name (empty: any name) about object
    /// (null: any object). observer owns the registration and must not be null (a null
    /// observer registers nothing and returns 0). Returns an id for removeObserver(int).
    int addObserver(QObject* observer, const QString& name, const void* object, Handler handler);

    /// Removes every registration of observer.
    void removeObserver(QObject* observer);
    /// Removes the registrations of observer for name (empty: any) and object (null: any).
    void removeObserver(QObject* observer, const QString& name, const void* object);
    /// Removes one registration by the id addObserver() returned; unknown ids are ignored.
    void removeObserver(int id);

    /// Delivers a notification at once to every matching observer.
    void postNotification(const PvNotification& notification);
    void postNotification(const QString& name, const void* object, const QVariantMap& userInfo = {});

    /// Delivers the notification later from the event loop ("post when idle"). A pending
    /// notification with the same name and object is replaced (coalesced), keeping its place.
    void enqueueNotification(const PvNotification& notification);

    /// Number of notifications waiting for delivery by the event loop.
    int pendingNotificationCount() const { return int(m_queue.size()); }

private:
    explicit PvNotificationCenter(QObject* parent = nullptr);
    void deliverQueued();

    struct Observer {
        int id;
        QPointer<QObject> owner;
        QString name;
        const void* object;
        Handler handler;
    };
    std::vector<Observer> m_observers;
    std::vector<PvNotification> m_queue;
    bool m_deliveryScheduled = false;
    int m_nextId = 1;
};
