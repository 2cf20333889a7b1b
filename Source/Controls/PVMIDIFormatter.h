// PVMIDIFormatter: display text for MIDI values (note numbers, velocities, controller
// values, transpositions).
#pragma once

#include <QString>
#include <QVariant>

#include <cstdint>

/**
    Turns an integer MIDI value into display text in one of four styles.

    The formatter only formats: it never parses text back into a value. Hosts keep one
    per text field or numeric editor (it is a small value object they own) and ask it
    for the text of each value; PvMIDISpinBox wraps one for Qt spin boxes.

    Styles (noteStyle()):
    - 0 decimal: "64", "-3";
    - 1 signed offset: "+5", "-3", and "± 0" (plus-minus sign, a space, the digit) for 0;
    - 2 hexadecimal byte: "0x09", "0x0E", but "0x F" for 15 and "0x7F" for 127. The
      two-digit field starts at 15, not 16, so 15 is padded with a space: stored
      texts and user habits depend on that, keep it;
    - 3 note name with octave, sharps only, middle C (60) is "C3": 0 is "C-2", 127 is "G8".
    Any other style gives an empty text.

    Not thread-safe; use an instance from one thread at a time (normally the main thread).
*/
class PVMIDIFormatter {
public:
    /** The display styles accepted by setNoteStyle(). */
    enum Style : int32_t { Decimal = 0, Signed = 1, Hexadecimal = 2, NoteName = 3 };

    /** A formatter in the decimal style (0). */
    PVMIDIFormatter() = default;

    /** The display style; values outside 0 to 3 are kept and give empty texts. */
    int32_t noteStyle() const { return _noteStyle; }

    /** Stores a new display style. Any value is accepted; see noteStyle(). */
    void setNoteStyle(int32_t style);

    /**
        The display text of a value.

        @param value a number: any integer type, bool, or a floating-point value (cut
               toward zero, saturated at the 32-bit range). Integers wider than 32 bits
               keep their low 32 bits, as the platform's intValue did.
        @returns the text in the current style; "" for a null or invalid variant, a
                 non-number (strings are not parsed, "12" gives ""), a floating-point
                 NaN or infinity, or a style outside 0 to 3.
    */
    QString stringForObjectValue(const QVariant& value) const;

    /** The display text of an integer in the current style ("" for an unknown style). */
    QString stringForValue(int32_t value) const;

private:
    int32_t _noteStyle = Decimal;
};
