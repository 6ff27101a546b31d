#include "core/limits.h"

#include <QXmlStreamReader>

namespace Corvel::Limits {

bool jsonDepthWithin(const QByteArray& json, int maxDepth)
{
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    for (const char c : json) {
        if (inString) {
            if (escaped)
                escaped = false;
            else if (c == '\\')
                escaped = true;
            else if (c == '"')
                inString = false;
            continue;
        }
        switch (c) {
        case '"':
            inString = true;
            break;
        case '[':
        case '{':
            if (++depth > maxDepth)
                return false;
            break;
        case ']':
        case '}':
            --depth;
            break;
        default:
            break;
        }
    }
    return true;
}

XmlScan scanXml(const QByteArray& xml, int maxDepth)
{
    QXmlStreamReader reader(xml);
    int depth = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            if (++depth > maxDepth)
                return XmlScan::TooDeep;
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        default:
            break;
        }
    }
    return reader.hasError() ? XmlScan::Malformed : XmlScan::Ok;
}

} // namespace Corvel::Limits
