#pragma once

#include <QByteArray>

// Archives in a notation of one line, so that tables of them can be read. Nothing is checked: a notation may
// describe an archive that no archiver would write.

enum class ByteOrder { Little, Big };

/// A typed stream of the tokens in @p notation, with blanks between them:
///
///     :iI             a group's type encoding, whose values follow
///     5 5h 5w 5q      an integer in its shortest form, or of 2, 4 or 8 bytes; r5 the bare byte 5
///     f0.5 d0.5       a real of 4 or 8 bytes
///     {NSArray        an object and its class, which inherits from NSObject; {A/B/C also names what it
///     inherits
///                     from, {A/ nothing. {NSArray=a calls the object a
///     {               an object whose class has to follow
///     }               the end of an object
///     ~               nil
///     #3 #a           a reference to number 3, or to the object a
///     "text"          an unshared string; *"text" a C string; s"text" a shared string; S"text" one that is
///                     written again although it is known
///     cA/B            a class; C"name" one without what it inherits from
///     xFF00           bytes
///
/// Strings, classes and type encodings are shared as archivers share them.
[[nodiscard]] QByteArray typedStream(const QByteArray &notation, ByteOrder order = ByteOrder::Little);

/// The text of ":@ {NSString :+ "TEXT" }".
[[nodiscard]] QByteArray stringNotation(const QByteArray &text);

enum class Form { Binary, Xml };

/// A keyed archive of the objects in @p notation, the first of which is the root:
///
///     "text" u00E9    a string in UTF-8, or of hexadecimal UTF-16 units (binary form only)
///     d"bytes" <00FF> data; in hexadecimal digits
///     5 0.5 true @0.5 an integer, a real, a boolean, a date in seconds since 2001 (binary form only)
///     (1 2)           an array
///     [a=1 b=2]       a dictionary
///     {NSArray a=1}   an object and its class; {A/B a=1} also names what it inherits from
///     #3 #a           a reference to object 3 of the table, where $null is 0, or to the object a
///     a:5             an object called a
///     ^3              three more objects at the place of the one before (binary form only)
[[nodiscard]] QByteArray keyedArchive(const QByteArray &notation, Form form = Form::Binary);
