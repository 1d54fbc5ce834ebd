/*
 * DialogFactory: turns the request's keyword (argv[1]) into a dialog object.
 *
 * The keyword is compared exactly and case-sensitively; an unknown one (and
 * one whose dialog is not part of this build) raises xvtui_exception
 * ResultCode::BadArgs "Error in creating <keyword> dialog". Exceptions raised
 * by a dialog constructor pass through unchanged. The caller owns the dialog.
 */
#ifndef XVTUI_APP_DIALOGFACTORY_H
#define XVTUI_APP_DIALOGFACTORY_H

#include <memory>
#include <string>

class BaseDialog;

class DialogFactory {
public:
    // argc and argv are the process's own, keyword included (argv[1]).
    static std::unique_ptr<BaseDialog> CreateDialog(const std::string& name, int argc, char** argv);
};

#endif
