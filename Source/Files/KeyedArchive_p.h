// Keyed archives: the binary property list form that Cocoa's keyed archiver writes.
//
// An archive holds a "$objects" table, a "$top" dictionary whose "root" entry points
// (by UID) into the table, and one class description per class ("$classname",
// "$classes"). Only the small subset that file references need is supported: one root
// object whose fields are byte blocks, texts, integers and references to other objects.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

namespace PvKeyedArchive {

/// Archives one object of class `className` (superclass NSObject). Field values may be
/// QByteArray (stored inline, as the archiver stores raw bytes), QString (stored as a
/// separate string object), integers, or a null QVariant (the "$null" object).
QByteArray archive(const QString& className, const QVariantMap& fields);

/// Reads the root object of a keyed archive. Fields that reference other objects are
/// resolved: strings to QString, byte blocks to QByteArray, "$null" to a null QVariant,
/// nested objects to a QVariantMap with their class in "$classname". Returns false for
/// anything that is not a well-formed keyed archive; never reads outside `bytes`.
bool unarchive(const QByteArray& bytes, QString* className, QVariantMap* fields);

} // namespace PvKeyedArchive
