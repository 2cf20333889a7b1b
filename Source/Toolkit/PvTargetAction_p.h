// Finding the method that answers a selector, shared by actions and delayed calls.
#pragma once

#include <QByteArray>
#include <QMetaMethod>
#include <QObject>

/// The index of the method of target named selector that takes one argument accepted by
/// takesArgument; failing that, of the one that takes none; else -1. Signals never answer,
/// and where several methods qualify the one declared last (the most derived) wins.
template <typename Accepts>
int pv_methodAnsweringSelector(const QObject* target, const QByteArray& selector, Accepts takesArgument)
{
    if (!target || selector.isEmpty())
        return -1;
    const QMetaObject* mo = target->metaObject();
    int noArgument = -1;
    for (int i = mo->methodCount() - 1; i >= 0; --i) {
        const QMetaMethod m = mo->method(i);
        if (m.name() != selector || m.methodType() == QMetaMethod::Signal)
            continue;
        if (m.parameterCount() == 0)
            noArgument = i;
        else if (m.parameterCount() == 1 && takesArgument(m.parameterMetaType(0)))
            return i;
    }
    return noArgument;
}
