#pragma once

// UTF-8 text, as the host keeps it, and the UTF-16 of the Windows calls, both ways. Bytes that are
// no UTF-8 become replacement characters rather than failing a call.

#include <string>

namespace hostkit::platform
{
std::wstring widen(const std::string& utf8);
std::string narrow(const std::wstring& utf16);
} // namespace hostkit::platform
