#include "authenticode_layout.h"

namespace zentsim::klf {

namespace {

constexpr size_t kPeOffsetField = 0x3c;
constexpr size_t kFileHeaderSize = 20;
constexpr size_t kChecksumOffset = 64;  // within the optional header
constexpr uint16_t kPe32Magic = 0x10b;
constexpr uint16_t kPe32PlusMagic = 0x20b;
constexpr size_t kPe32Directories = 96;
constexpr size_t kPe32PlusDirectories = 112;
constexpr size_t kSecurityDirectory = 4;
constexpr size_t kDirectoryEntrySize = 8;

uint32_t Read32(std::span<const uint8_t> bytes, size_t at) {
  return uint32_t{bytes[at]} | uint32_t{bytes[at + 1]} << 8 | uint32_t{bytes[at + 2]} << 16 |
         uint32_t{bytes[at + 3]} << 24;
}

}  // namespace

std::optional<std::vector<ByteRange>> ImageDigestRanges(std::span<const uint8_t> image) {
  if (image.size() < kPeOffsetField + 4) return std::nullopt;
  size_t pe = Read32(image, kPeOffsetField);
  size_t optional = pe + 4 + kFileHeaderSize;
  if (optional + 2 > image.size() || Read32(image, pe) != 0x00004550) return std::nullopt;
  uint16_t magic = static_cast<uint16_t>(image[optional] | image[optional + 1] << 8);
  size_t directories = optional;
  if (magic == kPe32Magic) {
    directories += kPe32Directories;
  } else if (magic == kPe32PlusMagic) {
    directories += kPe32PlusDirectories;
  } else {
    return std::nullopt;
  }
  size_t checksum = optional + kChecksumOffset;
  size_t security = directories + kSecurityDirectory * kDirectoryEntrySize;
  if (security + kDirectoryEntrySize > image.size() ||
      Read32(image, directories - 4) <= kSecurityDirectory) {
    return std::nullopt;
  }
  size_t tableOffset = Read32(image, security);
  size_t tableSize = Read32(image, security + 4);
  if (tableSize == 0) tableOffset = image.size();
  if (tableOffset < security + kDirectoryEntrySize || tableOffset > image.size() ||
      tableSize > image.size() - tableOffset) {
    return std::nullopt;
  }
  size_t afterTable = tableOffset + tableSize;
  return std::vector<ByteRange>{
      {0, checksum},
      {checksum + 4, security - (checksum + 4)},
      {security + kDirectoryEntrySize, tableOffset - (security + kDirectoryEntrySize)},
      {afterTable, image.size() - afterTable},
  };
}

std::optional<std::span<const uint8_t>> DerContentOctets(std::span<const uint8_t> element) {
  if (element.size() < 2) return std::nullopt;
  size_t header = 2;
  size_t length = element[1];
  if (length & 0x80) {
    size_t lengthBytes = length & 0x7f;
    if (lengthBytes == 0 || lengthBytes > 4 || element.size() < 2 + lengthBytes) {
      return std::nullopt;
    }
    length = 0;
    for (size_t i = 0; i < lengthBytes; ++i) length = length << 8 | element[2 + i];
    header += lengthBytes;
  }
  if (length > element.size() - header) return std::nullopt;
  return element.subspan(header, length);
}

}  // namespace zentsim::klf
