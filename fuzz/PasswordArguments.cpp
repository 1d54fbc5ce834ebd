// The password request's command line: any texts, any count. A parsed
// request must be parsed again the same from the same texts, must choose a
// dialog from its two flags alone, and its answers must carry the password
// whole at their end.
#include "FuzzInput.h"

#include "protocol/PasswordRequest.h"

#include <string_view>

namespace {

bool EndsWith(std::string_view text, std::string_view tail)
{
    return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace xvtui::protocol;
    const std::vector<std::string> pieces = fuzz::Split(data, size);
    std::vector<const char*> argv{"xvtui", "VTQueryPinEx"};
    for (const std::string& piece : pieces)
        argv.push_back(piece.c_str());
    const int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);

    const std::optional<PasswordRequest> request = ParsePasswordRequest(argc, argv.data());
    fuzz::Check(!request == (argc < kPasswordArgumentCount || !ParsePasswordRequest(argc, argv.data())));
    if (!request)
        return 0;
    fuzz::Check(request->kind >= kNoPasswordDialog && request->kind <= kThreeEntryDialog);
    fuzz::Check(request->info.header == std::string(argv[kHeaderArgument]) + "\n");
    fuzz::Check(request->info.title == argv[kTitleArgument]);

    // The header text stands in for a typed password: any bytes.
    const std::string_view password = request->info.header;
    fuzz::Check(EndsWith(EncodeOneEntryAnswer(true, false, password).view(), std::string(kPasswdKey) += password));
    fuzz::Check(EndsWith(EncodeTwoEntryAnswer(password).view(), password));
    fuzz::Check(EndsWith(EncodeThreeEntryAnswer(request->info.title, password).view(), password));
    return 0;
}
