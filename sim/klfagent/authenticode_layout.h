// Where an Authenticode signature's digests come from, byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zentsim::klf {

struct ByteRange {
  size_t offset = 0;
  size_t length = 0;
};

// The parts of a PE file that its image digest covers: all of it but the
// header's checksum, the certificate table's directory entry and the
// certificate table itself. Nothing when the file is not a PE image.
std::optional<std::vector<ByteRange>> ImageDigestRanges(std::span<const uint8_t> image);

// The content octets of one DER element, without its tag and length: what a
// signer's message digest covers when the signed content is not plain data.
std::optional<std::span<const uint8_t>> DerContentOctets(std::span<const uint8_t> element);

}  // namespace zentsim::klf
