// ContainerRequest.h: the "VTSelectContainer" request, the user's choice of
// one key container.
//
// The helper reads a 32-bit count (host byte order) and that many 1538-byte
// records (protocol/SelectItem.h) from standard input and answers with one
// record of the same form: the chosen row's friendly name, now in UTF-8, and
// its primary name; its unique name and reserved bytes are always zero.
// OK with no row chosen answers an all-zero record.
#pragma once

#include "client/Request.h"
#include "protocol/SelectItem.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xvtui::client {

using protocol::VTUISelectItem_;

// Code pages a friendly name may travel in: the provider's default single-byte
// one (CP1251), in which the helper reads it, and UTF-8.
inline constexpr unsigned kDefaultCodePage = 0;
inline constexpr unsigned kUtf8CodePage = 65001;

// One container as the parent describes it.
struct ContainerRecord {
    std::string friendlyName;            // UTF-8 text
    unsigned codePage = kDefaultCodePage; // in which the friendly name is sent
    std::string uniqueName;              // sent byte for byte
    std::string primaryName;             // sent byte for byte, and answered back
};

// The record's bytes; nullopt (and why in `problem`) when the friendly name
// has no form in its code page or a name does not fit its field with a
// terminating zero.
std::optional<VTUISelectItem_> EncodeContainerRecord(const ContainerRecord& record, std::string& problem);

// The request for these records; throws std::invalid_argument with the
// problem of the first record that cannot be encoded.
Request ContainerRequest(const std::vector<ContainerRecord>& records);
// The request with any count in front of the records, for lists that end
// before the count does.
Request ContainerRequest(std::uint32_t count, const std::vector<VTUISelectItem_>& records);

// The answer's field keys, in the order the decoder gives them.
inline constexpr std::string_view kFriendlyNameKey = "friendly_name=";
inline constexpr std::string_view kUniqueNameKey = "unique_name=";
inline constexpr std::string_view kPrimaryNameKey = "primary_name=";
inline constexpr std::string_view kReservedKey = "reserved="; // four hexadecimal digits, byte order as sent

// Reads exactly one record: each name up to its terminating zero. Output of
// another length, or a name without its zero, is malformed.
Decoder ContainerDecoder();

// The list of xvtui-ask's --file: one record a line, friendly name, unique
// name and primary name separated by tabs; empty lines are skipped. False
// (and why, with the line number, in `error`) on a line without three fields.
bool ParseContainerList(std::string_view text, unsigned codePage, std::vector<ContainerRecord>& out,
                        std::string& error);

} // namespace xvtui::client
