// The input event as the tracking protocol and the action masks see it.
#pragma once

#include <QPointF>
#include <QString>
#include <Qt>

#include <cstdint>

/// Event types, numbered like the platform's so that 1 << type is the type's mask bit
/// (left mouse down 2, left mouse up 4, left mouse dragged 64).
enum PvEventType : int32_t {
    PvEventNone = 0,
    PvLeftMouseDown = 1,
    PvLeftMouseUp = 2,
    PvRightMouseDown = 3,
    PvRightMouseUp = 4,
    PvMouseMoved = 5,
    PvLeftMouseDragged = 6,
    PvRightMouseDragged = 7,
    PvMouseEntered = 8,
    PvMouseExited = 9,
    PvKeyDown = 10,
    PvKeyUp = 11,
    PvScrollWheel = 22,
};

/// The mask bit of an event type; 0 for PvEventNone.
constexpr int32_t PvEventMaskFromType(PvEventType type)
{
    return type == PvEventNone ? 0 : int32_t(1u << unsigned(type));
}

inline constexpr int32_t PvLeftMouseDownMask = PvEventMaskFromType(PvLeftMouseDown);
inline constexpr int32_t PvLeftMouseUpMask = PvEventMaskFromType(PvLeftMouseUp);
inline constexpr int32_t PvLeftMouseDraggedMask = PvEventMaskFromType(PvLeftMouseDragged);
inline constexpr int32_t PvScrollWheelMask = PvEventMaskFromType(PvScrollWheel);

/**
    A value copy of the input event a control is handling: its "current event".

    Locations are in the receiving control's coordinates (y grows downward). eventNumber
    is the same for a press and every drag and release that belong to it, and grows with
    each new press. Wheel deltas are in notches (one notch of a common mouse wheel is 1.0,
    positive when the wheel turns away from the user or to the right).
*/
struct PvEvent {
    PvEventType type = PvEventNone;
    QPointF location;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    int clickCount = 0;
    int eventNumber = 0;
    double deltaX = 0;
    double deltaY = 0;
    int key = 0; // Qt::Key of key events
    QString text; // text of key events
    bool isAutoRepeat = false;
};
