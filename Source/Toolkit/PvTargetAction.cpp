#include "PvTargetAction.h"
#include "PvTargetAction_p.h"

#include <QApplication>
#include <QMetaMethod>
#include <QWidget>

namespace {

// The index of the method that answers action for sender, or -1.
int answeringMethod(const QObject* target, const QByteArray& action, const QObject* sender)
{
    return pv_methodAnsweringSelector(target, action, [sender](const QMetaType& type) {
        if (!(type.flags() & QMetaType::PointerToQObject))
            return false;
        const QMetaObject* wanted = type.metaObject();
        return !sender || !wanted || sender->metaObject()->inherits(wanted);
    });
}

bool invoke(QObject* target, int index, QObject* sender)
{
    const QMetaMethod m = target->metaObject()->method(index);
    if (m.parameterCount() == 0)
        return m.invoke(target, Qt::DirectConnection);
    // QObject must be the first base of every QObject class, so the sender's address is
    // also its address as the parameter's class.
    const QByteArray typeName = m.parameterTypeName(0);
    return m.invoke(target, Qt::DirectConnection, QGenericArgument(typeName.constData(), &sender));
}

} // namespace

bool pv_respondsToAction(const QObject* target, const QByteArray& action, const QObject* sender)
{
    return answeringMethod(target, action, sender) >= 0;
}

bool pv_sendAction(const QByteArray& action, QObject* target, QObject* sender)
{
    if (action.isEmpty() || !sender)
        return false;
    if (target) {
        const int index = answeringMethod(target, action, sender);
        return index >= 0 && invoke(target, index, sender);
    }
    // No target: the first object along the focus chain that answers.
    QWidget* w = QApplication::focusWidget();
    if (!w)
        w = QApplication::activeWindow();
    for (; w; w = w->parentWidget()) {
        const int index = answeringMethod(w, action, sender);
        if (index >= 0)
            return invoke(w, index, sender);
    }
    QObject* app = QCoreApplication::instance();
    const int index = answeringMethod(app, action, sender);
    return index >= 0 && invoke(app, index, sender);
}
