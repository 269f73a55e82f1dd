// Routes: the shape of a path, in which ":id" stands for every segment that identifies somebody or
// something. "/users/123/posts/" becomes "/users/:id/posts/".
//
// Pure functions; any thread. All are linear in the text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zarn::network {

/// `rawPath` is percent-encoded, since encoding hides identifiers: "a%40b.c" is an address. What
/// follows a "?" or "#" is left out, also where these are encoded. Double slashes become single
/// ones.
std::string routeOf(std::string_view rawPath);

/// Whether a segment, decoded, identifies somebody or something: digits, a UUID, 16 or more
/// hexadecimal digits, an e-mail address, a token of 20 or more letters and digits with "_" and
/// "-", 9 or more digits among signs other than letters, a handle such as "@ada_l", a bank
/// account's number, a JSON web token, text that is still percent-encoded, and any text with a
/// blank in it or of more than 64 bytes.
bool isIdentifier(std::string_view segment);

/// "2xx" to "5xx", "error" for everything else.
std::string_view statusBucketOf(std::int16_t statusCode);

}  // namespace zarn::network
