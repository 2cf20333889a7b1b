// Target and action: how controls report to their hosts.
#pragma once

#include <QByteArray>
#include <QObject>

/**
    Sends action to target with sender as argument.

    The action is the name of an invokable method (a slot or Q_INVOKABLE) of the target
    that takes one pointer argument to which the sender converts (QObject*, QWidget*, the
    sender's own class) or no argument at all. The action is sent only when the target
    answers it; otherwise nothing happens. A null target means "whoever answers it": the
    focus widget, then its parents up to its window, then the application object.

    Returns true when a receiver was called; false for an empty action, a null sender, or
    no receiver that answers the action. Main thread only.
*/
bool pv_sendAction(const QByteArray& action, QObject* target, QObject* sender);

/// Whether target has an invokable method named action that pv_sendAction() could call
/// with sender (null sender: any pointer argument is accepted).
bool pv_respondsToAction(const QObject* target, const QByteArray& action, const QObject* sender = nullptr);
