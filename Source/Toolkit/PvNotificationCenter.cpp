#include "PvNotificationCenter.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>

PvNotificationCenter::PvNotificationCenter(QObject* parent)
    : QObject(parent)
{
}

PvNotificationCenter* PvNotificationCenter::defaultCenter()
{
    // Parented to the application when there is one, so it goes away with it.
    static QPointer<PvNotificationCenter> center;
    if (!center)
        center = new PvNotificationCenter(QCoreApplication::instance());
    return center;
}

int PvNotificationCenter::addObserver(
    QObject* observer, const QString& name, const void* object, Handler handler)
{
    if (!observer || !handler)
        return 0;
    const int id = m_nextId++;
    m_observers.push_back(Observer {id, observer, name, object, std::move(handler)});
    return id;
}

void PvNotificationCenter::removeObserver(QObject* observer)
{
    std::erase_if(m_observers, [&](const Observer& o) { return o.owner == observer || !o.owner; });
}

void PvNotificationCenter::removeObserver(QObject* observer, const QString& name, const void* object)
{
    std::erase_if(m_observers, [&](const Observer& o) {
        return !o.owner
            || (o.owner == observer && (name.isEmpty() || o.name == name) && (!object || o.object == object));
    });
}

void PvNotificationCenter::removeObserver(int id)
{
    std::erase_if(m_observers, [&](const Observer& o) { return o.id == id; });
}

void PvNotificationCenter::postNotification(const PvNotification& notification)
{
    // Work on a snapshot of the ids so handlers may change the registrations; a
    // registration removed during delivery is skipped.
    std::vector<int> ids;
    ids.reserve(m_observers.size());
    for (const Observer& o : m_observers)
        if ((o.name.isEmpty() || o.name == notification.name)
            && (!o.object || o.object == notification.object))
            ids.push_back(o.id);
    for (int id : ids) {
        auto it = std::find_if(
            m_observers.begin(), m_observers.end(), [&](const Observer& o) { return o.id == id; });
        if (it == m_observers.end() || !it->owner)
            continue;
        Handler handler = it->handler; // the registration may go away inside the call
        handler(notification);
    }
    std::erase_if(m_observers, [](const Observer& o) { return !o.owner; });
}

void PvNotificationCenter::postNotification(
    const QString& name, const void* object, const QVariantMap& userInfo)
{
    postNotification(PvNotification {name, object, userInfo});
}

void PvNotificationCenter::enqueueNotification(const PvNotification& notification)
{
    auto same = std::find_if(m_queue.begin(), m_queue.end(), [&](const PvNotification& n) {
        return n.name == notification.name && n.object == notification.object;
    });
    if (same != m_queue.end())
        *same = notification;
    else
        m_queue.push_back(notification);
    if (!m_deliveryScheduled) {
        m_deliveryScheduled = true;
        QTimer::singleShot(0, this, &PvNotificationCenter::deliverQueued);
    }
}

void PvNotificationCenter::deliverQueued()
{
    m_deliveryScheduled = false;
    std::vector<PvNotification> batch;
    batch.swap(m_queue);
    for (const PvNotification& n : batch)
        postNotification(n);
}
