#include "MachO.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <system_error>

namespace fs = std::filesystem;

namespace LauncherInspect {

using Number = std::uint64_t;

// A universal file is a table of slices in big-endian numbers. A slice is a header and commands, in
// the numbers of its processor, which are little-endian for both that macOS still runs on.
constexpr Number UNIVERSAL = 0xcafebabe, UNIVERSAL_64 = 0xcafebabf;
constexpr Number SLICE_32 = 0xfeedface, SLICE_64 = 0xfeedfacf;
constexpr Number X86_64 = 0x01000007, ARM64 = 0x0100000c;
constexpr Number CODE_SIGNATURE = 0x1d; // a command

constexpr Number MOST_SLICES =
    20; // a Java class begins as a universal file, and has a number above
constexpr Number MOST_COMMAND_BYTES = 1024 * 1024;

// Fewer where the file ends.
static std::string readBytes(std::FILE* file, Number offset, Number size) {
  std::string bytes(size, '\0');
  const bool isThere = ::fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0;
  bytes.resize(isThere ? std::fread(bytes.data(), 1, size, file) : 0);
  return bytes;
}

static Number bigEndian(const std::string& bytes, std::size_t at, std::size_t size = 4) {
  Number number = 0;
  for (const char byte : bytes.substr(at, size))
    number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

static Number littleEndian(const std::string& bytes, std::size_t at) {
  std::string number = bytes.substr(at, 4);
  std::reverse(number.begin(), number.end());
  return bigEndian(number, 0);
}

static std::string nameOf(Number processor) {
  if (processor == ARM64)
    return "arm64";
  return processor == X86_64 ? "x86_64" : "other";
}

static bool hasSignature(const std::string& commands) {
  for (std::size_t at = 0; at + 8 <= commands.size();) {
    if (littleEndian(commands, at) == CODE_SIGNATURE)
      return true;
    at += std::max<Number>(8, littleEndian(commands, at + 4));
  }
  return false;
}

// The header of 32 bits lacks the last four bytes; what is asked for lies before them.
static std::optional<Slice> readSlice(std::FILE* file, Number offset) {
  const std::string header = readBytes(file, offset, 32);
  const Number kind = header.size() < 32 ? 0 : littleEndian(header, 0);
  if (kind != SLICE_32 && kind != SLICE_64)
    return std::nullopt;
  const Number size = std::min(littleEndian(header, 20), MOST_COMMAND_BYTES);
  return Slice{nameOf(littleEndian(header, 4)), hasSignature(readBytes(file, offset + 32, size))};
}

static std::vector<Slice> readTable(std::FILE* file, Number count, bool is64) {
  const Number entrySize = is64 ? 32 : 20;
  const std::string table = readBytes(file, 8, count * entrySize);
  std::vector<Slice> slices;
  for (std::size_t at = 0; at + entrySize <= table.size(); at += entrySize) {
    if (const auto slice = readSlice(file, bigEndian(table, at + 8, is64 ? 8 : 4)))
      slices.push_back(*slice);
  }
  return slices;
}

std::optional<std::vector<Slice>> readSlices(const fs::path& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error))
    return std::nullopt;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
      std::fopen(path.c_str(), "rb"), std::fclose);
  const std::string start = file ? readBytes(file.get(), 0, 8) : "";
  if (start.size() < 8)
    return std::nullopt;
  const Number kind = bigEndian(start, 0);
  const Number count = bigEndian(start, 4);
  if ((kind == UNIVERSAL || kind == UNIVERSAL_64) && count <= MOST_SLICES)
    return readTable(file.get(), count, kind == UNIVERSAL_64);
  const auto slice = readSlice(file.get(), 0);
  return slice ? std::optional(std::vector{*slice}) : std::nullopt;
}

} // namespace LauncherInspect
