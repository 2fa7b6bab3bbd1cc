// SHA-256 (FIPS 180-4) of a byte string or a file, as 64 lower-case hex
// digits: the fingerprints of a run's input files in its JSON document.
#ifndef VELQUORIN_JSON_SHA256_H_
#define VELQUORIN_JSON_SHA256_H_

#include <optional>
#include <string>
#include <string_view>

namespace vq {

// The digest of `bytes`.
std::string Sha256Hex(std::string_view bytes);

// The digest of the file at `path`, read in binary; nullopt when it cannot
// be read.
std::optional<std::string> Sha256OfFile(const std::string& path);

}  // namespace vq

#endif  // VELQUORIN_JSON_SHA256_H_
