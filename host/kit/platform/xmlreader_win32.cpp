#include "host/kit/xmlreader.h"

namespace hostkit
{
// Windows reads with the host's own reader; xmlreader.h says why.
bool parseXml(std::string_view text, std::vector<XmlElement>& elements, std::string& error)
{
    return parseXmlOwnReader(text, elements, error);
}
} // namespace hostkit
