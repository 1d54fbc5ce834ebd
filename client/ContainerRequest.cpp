// ContainerRequest.cpp: container records out, the chosen record back.
#include "client/ContainerRequest.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iconv.h>
#include <stdexcept>

namespace xvtui::client {
namespace {

using protocol::FieldText;
using protocol::kSelectItemSize;

// `text` (UTF-8) in CP1251; nullopt when a character has no CP1251 form.
std::optional<std::string> ToCp1251(std::string_view text)
{
    const iconv_t cd = iconv_open("CP1251", "UTF-8");
    if (cd == reinterpret_cast<iconv_t>(-1))
        return std::nullopt;
    std::string out(text.size(), '\0'); // CP1251 is never longer than UTF-8
    char* in = const_cast<char*>(text.data());
    size_t inLeft = text.size();
    char* to = out.data();
    size_t outLeft = out.size();
    const size_t converted = iconv(cd, &in, &inLeft, &to, &outLeft);
    iconv_close(cd);
    if (converted == static_cast<size_t>(-1) || inLeft != 0)
        return std::nullopt;
    out.resize(out.size() - outLeft);
    return out;
}

template <std::size_t N>
bool Fill(char (&field)[N], std::string_view text, const char* name, std::string& problem)
{
    if (text.size() >= N) {
        problem = std::string(name) + " is " + std::to_string(text.size()) + " bytes, at most " +
                  std::to_string(N - 1) + " fit";
        return false;
    }
    protocol::CopyClipped(field, text);
    return true;
}

template <std::size_t N>
bool Terminated(const char (&field)[N])
{
    return FieldText(field).size() < N;
}

} // namespace

std::optional<VTUISelectItem_> EncodeContainerRecord(const ContainerRecord& record, std::string& problem)
{
    std::optional<std::string> friendly;
    if (record.codePage == kUtf8CodePage)
        friendly = record.friendlyName;
    else if (record.codePage == kDefaultCodePage)
        friendly = ToCp1251(record.friendlyName);
    else {
        problem = "code page " + std::to_string(record.codePage) + " is neither 0 nor 65001";
        return std::nullopt;
    }
    if (!friendly) {
        problem = "the friendly name has no form in code page " + std::to_string(record.codePage);
        return std::nullopt;
    }
    VTUISelectItem_ item{};
    if (!Fill(item.friendly_name, *friendly, "the friendly name", problem) ||
        !Fill(item.unique_name, record.uniqueName, "the unique name", problem) ||
        !Fill(item.primary_name, record.primaryName, "the primary name", problem))
        return std::nullopt;
    return item;
}

Request ContainerRequest(const std::vector<ContainerRecord>& records)
{
    std::vector<VTUISelectItem_> items;
    items.reserve(records.size());
    for (const ContainerRecord& record : records) {
        std::string problem;
        const std::optional<VTUISelectItem_> item = EncodeContainerRecord(record, problem);
        if (!item)
            throw std::invalid_argument("container " + std::to_string(items.size() + 1) + ": " + problem);
        items.push_back(*item);
    }
    return ContainerRequest(static_cast<std::uint32_t>(items.size()), items);
}

Request ContainerRequest(std::uint32_t count, const std::vector<VTUISelectItem_>& records)
{
    Request request;
    request.arguments = {"VTSelectContainer"};
    AppendWord(request.input, count);
    for (const VTUISelectItem_& item : records)
        request.input.append(reinterpret_cast<const char*>(&item), sizeof item);
    request.decoder = ContainerDecoder();
    return request;
}

Decoder ContainerDecoder()
{
    return [](std::string_view output, std::vector<Field>& fields, std::string& problem) {
        fields.clear();
        if (output.size() != kSelectItemSize) {
            problem = "the answer is " + std::to_string(output.size()) + " bytes, not one " +
                      std::to_string(kSelectItemSize) + "-byte record";
            return false;
        }
        VTUISelectItem_ item;
        std::memcpy(&item, output.data(), sizeof item);
        if (!Terminated(item.friendly_name) || !Terminated(item.unique_name) || !Terminated(item.primary_name)) {
            problem = "a name of the answer has no terminating zero";
            return false;
        }
        const auto add = [&fields](std::string_view key, std::string_view value) {
            Field field;
            field.key = key;
            field.value.assign(value);
            fields.push_back(std::move(field));
        };
        add(kFriendlyNameKey, FieldText(item.friendly_name));
        add(kUniqueNameKey, FieldText(item.unique_name));
        add(kPrimaryNameKey, FieldText(item.primary_name));
        char reserved[5];
        std::snprintf(reserved, sizeof reserved, "%02x%02x", item.reserved[0], item.reserved[1]);
        add(kReservedKey, reserved);
        return true;
    };
}

bool ParseContainerList(std::string_view text, unsigned codePage, std::vector<ContainerRecord>& out,
                        std::string& error)
{
    size_t lineNumber = 0;
    while (!text.empty()) {
        ++lineNumber;
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (line.empty())
            continue;
        const size_t first = line.find('\t');
        const size_t second = first == std::string_view::npos ? first : line.find('\t', first + 1);
        if (second == std::string_view::npos || line.find('\t', second + 1) != std::string_view::npos) {
            error = "line " + std::to_string(lineNumber) + ": needs three fields separated by tabs";
            return false;
        }
        out.push_back({std::string(line.substr(0, first)), codePage,
                       std::string(line.substr(first + 1, second - first - 1)),
                       std::string(line.substr(second + 1))});
    }
    return true;
}

} // namespace xvtui::client
