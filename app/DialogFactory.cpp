#include "app/DialogFactory.h"

#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "dialogs/message/MessageDialog.h"
#include "dialogs/password/PasswordDialog.h"
#include "dialogs/rndm/RndmDialog.h"
#include "dialogs/select/SelectContainerDialog.h"
#include "dialogs/select/SelectReaderDialog.h"

namespace {

using Creator = std::unique_ptr<BaseDialog> (*)(int argc, char** argv);

struct Keyword {
    const char* name;
    Creator create; // may return null: the request is then refused like an unknown keyword
};

std::unique_ptr<BaseDialog> CreateMessageDialog(int argc, char** argv)
{
    return std::make_unique<MessageDialog>(argc, argv);
}

std::unique_ptr<BaseDialog> CreateRndmDialog(int, char**)
{
    return std::make_unique<RndmDialog>();
}

// The records come on standard input; no arguments but the keyword.
std::unique_ptr<BaseDialog> CreateSelectContainerDialog(int, char**)
{
    return std::make_unique<SelectContainerDialog>();
}

std::unique_ptr<BaseDialog> CreateSelectReaderDialog(int argc, char** argv)
{
    return std::make_unique<SelectReaderDialog>(argc, argv);
}

// In the order the provider's keywords are tried.
constexpr Keyword kKeywords[] = {
    {"VTQueryPinEx", PasswordDialog::CreatePasswordDialog},
    {"VTSelectReader", CreateSelectReaderDialog},
    {"VTSelectContainer", CreateSelectContainerDialog},
    {"VTDisplayMessage", CreateMessageDialog},
    {"VTDisplayMessageEx", CreateMessageDialog},
    {"VTRndmBio", CreateRndmDialog},
};

} // namespace

std::unique_ptr<BaseDialog> DialogFactory::CreateDialog(const std::string& name, int argc, char** argv)
{
    for (const Keyword& keyword : kKeywords) {
        if (name == keyword.name) {
            if (std::unique_ptr<BaseDialog> dialog = keyword.create(argc, argv))
                return dialog;
            break;
        }
    }
    throw xvtui_exception(ResultCode::BadArgs, "CreateDialog", "Error in creating " + name + " dialog");
}
