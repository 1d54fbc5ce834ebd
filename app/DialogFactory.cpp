#include "app/DialogFactory.h"

#include "app/xvtui_exception.h"
#include "base/BaseDialog.h"
#include "dialogs/message/MessageDialog.h"
#include "dialogs/password/PasswordDialog.h"
#include "dialogs/rndm/RndmDialog.h"

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

// In the order the provider's keywords are tried. "VTSelectReader" and
// "VTSelectContainer" join this table when their dialogs
// are built; until then they are unknown.
constexpr Keyword kKeywords[] = {
    {"VTQueryPinEx", PasswordDialog::CreatePasswordDialog},
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
