// Fixed facts of the service shared by the library and the local emulator.
#pragma once

namespace qbrk {

// Host used when the Domain setting is absent.
inline constexpr char kDefaultServiceHost[] = "dav.quellanbrook.jp";
// XML namespace of the vendor quota properties (bound to the prefix F in requests).
inline constexpr char kVendorNamespace[] = "http://www.halvorn.co.jp/xmlns/vfs/module/file/";
// Default path of the publishing servlet.
inline constexpr char kDefaultPublishServlet[] = "/pubhandle/PublicAreaHandleServlet";
// Agent string of every HTTP session.
inline constexpr char kUserAgent[] = "hv-qbrook/2.1.2.0";
// Response header carrying the server's protocol version, and the preferred-host header.
inline constexpr char kVersionHeader[] = "X-HV-VFS-Version";
inline constexpr char kPreferredHostHeader[] = "X-HV-PreferredHost";

}  // namespace qbrk
