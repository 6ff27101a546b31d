#pragma once

#include <QByteArray>
#include <QtGlobal>

// Bounds on what the console reads from peers it does not control. Each sits far above anything a
// legitimate peer sends (tens of thousands of clients, devices or restore points in one reply), so
// only a broken or hostile peer ever meets one.
namespace Corvel::Limits {

// One cloud API reply, counted after decompression. A client record is under 200 bytes of JSON, so
// this holds some 80,000 of them.
inline constexpr qint64 CloudReplyBytes = 16 * 1024 * 1024;
// Records taken from one cloud list; a longer list is treated as unusable.
inline constexpr int CloudListRecords = 100000;

// The update descriptor: five short elements.
inline constexpr qint64 DescriptorBytes = 1024 * 1024;
// The installer, written to disk as it arrives.
inline constexpr qint64 InstallerBytes = qint64(2) * 1024 * 1024 * 1024;

// How much of a reply's body, as received, the network layer buffers before the transfer waits for
// the reader, who decodes and counts it (see BoundedBody).
inline constexpr qint64 ReplyReadBuffer = 256 * 1024;

// Nesting of JSON arrays and objects, and of XML elements. The console's own documents are at most
// three levels deep; the parsers recurse per level.
inline constexpr int JsonDepth = 64;
inline constexpr int XmlDepth = 64;

// True when no array or object in the text is nested deeper than maxDepth. Says nothing about
// whether the text is valid JSON: that is the parser's job.
bool jsonDepthWithin(const QByteArray& json, int maxDepth = JsonDepth);

// A scan of an XML document that does not itself recurse: TooDeep as soon as an element is nested
// deeper than maxDepth, Malformed when the document breaks off or breaks the rules before that.
enum class XmlScan { Ok, TooDeep, Malformed };
XmlScan scanXml(const QByteArray& xml, int maxDepth = XmlDepth);

} // namespace Corvel::Limits
