// The parent's side of the container request: records encoded in their code
// page, the 1538-byte answer decoded, and xvtui-ask's list file and options.
#include "client/AskCommand.h"
#include "client/ContainerRequest.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace xvtui::client;

TEST(ContainerRequest, RecordsTravelInTheirCodePage)
{
    const struct {
        ContainerRecord record;
        const char* friendly; // bytes sent; null: refused
    } cases[] = {
        {{"Ключ", kDefaultCodePage, "u", "p"}, "\xca\xeb\xfe\xf7"},
        {{"Ключ", kUtf8CodePage, "u", "p"}, "Ключ"},
        {{"✓", kDefaultCodePage, "u", "p"}, nullptr},             // no CP1251 form
        {{"a", 1251, "u", "p"}, nullptr},                         // code pages are 0 or 65001
        {{std::string(255, 'f'), kDefaultCodePage, std::string(511, 'u'), std::string(767, 'p')}, ""},
        {{std::string(256, 'f'), kDefaultCodePage, "u", "p"}, nullptr}, // no room for the zero
        {{"f", kDefaultCodePage, std::string(512, 'u'), "p"}, nullptr},
        {{"f", kDefaultCodePage, "u", std::string(768, 'p')}, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.record.friendlyName.substr(0, 10));
        std::string problem;
        const auto item = EncodeContainerRecord(c.record, problem);
        ASSERT_EQ(item.has_value(), c.friendly != nullptr) << problem;
        if (item && *c.friendly != '\0') {
            EXPECT_STREQ(item->friendly_name, c.friendly);
        }
    }
    EXPECT_THROW(ContainerRequest({{"✓", kDefaultCodePage, "u", "p"}}), std::invalid_argument);
}

TEST(ContainerRequest, TheAnswerIsOneTerminatedRecord)
{
    VTUISelectItem_ item{};
    std::strcpy(item.friendly_name, "Ключ");
    std::strcpy(item.primary_name, "\\\\.\\HDIMAGE\\c1");
    item.reserved[1] = 0x7f;
    const std::string record(reinterpret_cast<const char*>(&item), sizeof item);
    std::vector<Field> fields;
    std::string problem;
    const Decoder decode = ContainerDecoder();
    ASSERT_TRUE(decode(record, fields, problem)) << problem;
    std::string shown;
    for (const Field& field : fields)
        shown += field.key + std::string(field.value.view()) + "\n";
    EXPECT_EQ(shown, "friendly_name=Ключ\nunique_name=\nprimary_name=\\\\.\\HDIMAGE\\c1\nreserved=007f\n");

    std::string unterminated = record;
    unterminated.replace(256, 512, 512, 'u');
    for (const std::string& bad : {record.substr(1), record + '\0', unterminated, std::string()}) {
        SCOPED_TRACE(bad.size());
        EXPECT_FALSE(decode(bad, fields, problem));
    }
}

TEST(ContainerRequest, ListsFromAFileAndFromOptions)
{
    std::vector<ContainerRecord> records;
    std::string error;
    ASSERT_TRUE(ParseContainerList("One\tu-1\tc-1\n\nTwo\t\tc-2", kUtf8CodePage, records, error)) << error;
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1].friendlyName + "|" + records[1].uniqueName + "|" + records[1].primaryName, "Two||c-2");
    EXPECT_EQ(records[1].codePage, kUtf8CodePage);
    for (const char* bad : {"One\tu-1\n", "a\tb\tc\td\n", "ok\tu\tp\nno tabs\n"}) {
        std::vector<ContainerRecord> ignored;
        EXPECT_FALSE(ParseContainerList(bad, kDefaultCodePage, ignored, error)) << bad;
    }
    EXPECT_EQ(error, "line 2: needs three fields separated by tabs");

    // --count replaces the count; --code-page applies to the records after it.
    const auto command = ParseAskCommand({"container", "--count", "7", "--item", "Ключ", "u", "p", "--code-page",
                                          "65001", "--item", "Ключ", "u2", "p2"},
                                         error);
    ASSERT_TRUE(command) << error;
    const std::string_view input = command->request.input.view();
    ASSERT_EQ(input.size(), 4 + 2 * sizeof(VTUISelectItem_));
    EXPECT_EQ(input.substr(0, 4), std::string_view("\7\0\0\0", 4));
    EXPECT_EQ(input.substr(4, 5), std::string_view("\xca\xeb\xfe\xf7\0", 5));
    EXPECT_EQ(input.substr(4 + sizeof(VTUISelectItem_), 9), std::string_view("Ключ\0", 9));
    for (const std::vector<std::string>& bad :
         {std::vector<std::string>{"container", "--item", "a", "b"}, {"container", "--code-page", "1251"},
          {"container", "--file", "/nonexistent/list"}, {"container", "--item", "✓", "u", "p"}}) {
        SCOPED_TRACE(bad.back());
        EXPECT_FALSE(ParseAskCommand(bad, error));
    }
}

} // namespace
