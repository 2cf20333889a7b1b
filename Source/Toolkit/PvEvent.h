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

/** Modifier flags of events and key commands, with the bit values of the AppKit event model. */
enum PvEventModifierFlag : uint32_t {
    PvShiftKeyMask = 0x20000, ///< ⇧
    PvControlKeyMask = 0x40000, ///< ⌃
    PvAlternateKeyMask = 0x80000, ///< ⌥ (Option)
    PvCommandKeyMask = 0x100000, ///< ⌘
    PvNumericPadKeyMask = 0x200000, ///< the key is on the numeric pad (or an arrow key)
    PvFunctionKeyMask = 0x800000, ///< the key is a function key (navigation, editing)
};

/**
    Key characters of the keys that type none, as the AppKit event model numbers them
    (its "function key" range from 0xF700). Keys that do type something carry that
    character: Return 13, Enter 3, Tab 9, Back-tab 0x19, Escape 27, Backspace 127.
*/
enum PvFunctionKeyCharacter : char16_t {
    PvUpArrowFunctionKey = 0xF700,
    PvDownArrowFunctionKey = 0xF701,
    PvLeftArrowFunctionKey = 0xF702,
    PvRightArrowFunctionKey = 0xF703,
    PvF1FunctionKey = 0xF704, ///< F2 ... F35 follow without gaps
    PvInsertFunctionKey = 0xF727,
    PvDeleteFunctionKey = 0xF728, ///< forward delete
    PvHomeFunctionKey = 0xF729,
    PvEndFunctionKey = 0xF72B,
    PvPageUpFunctionKey = 0xF72C,
    PvPageDownFunctionKey = 0xF72D,
    PvPrintScreenFunctionKey = 0xF72E,
    PvScrollLockFunctionKey = 0xF72F,
    PvPauseFunctionKey = 0xF730,
    PvSysReqFunctionKey = 0xF731,
    PvMenuFunctionKey = 0xF735,
    PvClearLineFunctionKey = 0xF739,
    PvHelpFunctionKey = 0xF746,
};

/**
    The modifier flags (PvEventModifierFlag) of Qt keyboard modifiers. The one mapping of
    the framework: Shift is ⇧, Qt::ControlModifier (the Ctrl key) is ⌘, the Qt modifier
    chosen for Option (pv_optionModifier(), Alt by default) is ⌥, and of Alt and Meta (the
    Super key) the one not chosen for Option is ⌃. Qt::KeypadModifier is
    PvNumericPadKeyMask.
*/
uint32_t pv_modifierFlagsForQt(Qt::KeyboardModifiers modifiers);

/// The Qt keyboard modifiers of modifier flags; the inverse of pv_modifierFlagsForQt().
Qt::KeyboardModifiers pv_qtModifiersForFlags(uint32_t flags);

/// The Qt modifier that stands for Option (⌥): Qt::AltModifier unless the host chose another.
Qt::KeyboardModifier pv_optionModifier();

/**
    Chooses the Qt modifier that stands for Option. Many Linux window managers take Alt with
    a drag to move windows, so a host may let Option be Qt::MetaModifier (the Super key)
    instead; Alt then stands for Control (⌃). Only Qt::AltModifier and Qt::MetaModifier are
    accepted; anything else is ignored. Takes effect for every event that follows, and for
    the key-command texts. Main thread; usually called once at start-up.
*/
void pv_setOptionModifier(Qt::KeyboardModifier modifier);

/**
    The character of a key ignoring its modifiers, in the AppKit numbering: the character
    the key types without Control, Option or Command (letters follow Shift), or for keys
    that type nothing the PvFunctionKeyCharacter of the key; 0 for keys without either
    (modifier keys themselves). key is a Qt::Key, text the text of the Qt key event.
*/
char16_t pv_keyCharacterForQtKey(int key, const QString& text, Qt::KeyboardModifiers modifiers);

/**
    A value copy of the input event a control is handling: its "current event".

    Locations are in the receiving control's coordinates: y grows downward in a flipped
    control (the default) and upward from the bottom edge in one whose isFlipped() answers
    false. eventNumber is the same for a press and every drag and release that belong to
    it, and grows with each new press.

    clickCount of a press is the number of presses in quick succession (2 for the second
    press of a double click, 3 for a triple click), counted with the platform's double-click
    interval and distance; drags and the release carry the count of their press.

    Mouse deltas follow the AppKit convention: for a drag, deltaX is the movement to the
    right and deltaY the movement *down the screen* since the previous event of the same
    press, in points, whatever the control's flipping. So in a flipped control the previous
    location is (x - deltaX, y - deltaY), in an unflipped one (x - deltaX, y + deltaY).

    Wheel deltas are in notches (one notch of a common mouse wheel is 1.0): deltaY is
    positive when the wheel turns away from the user (scrolling up), deltaX positive when it
    tilts to the left; natural-scrolling inversion is undone. With Shift held and no
    horizontal movement from the device, the vertical movement arrives as deltaX (and deltaY
    is 0), so rules that read deltaX under Shift work with a plain wheel mouse.
*/
struct PvEvent {
    PvEventType type = PvEventNone;
    QPointF location;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    uint32_t modifierFlags = 0; ///< PvEventModifierFlag bits of modifiers
    int clickCount = 0;
    int eventNumber = 0;
    double deltaX = 0;
    double deltaY = 0;
    int key = 0; ///< Qt::Key of key events
    QString text; ///< text of key events
    char16_t character = 0; ///< key events: the character ignoring modifiers (see pv_keyCharacterForQtKey)
    bool isAutoRepeat = false;
};
