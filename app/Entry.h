/*
 * RunEntry: the whole life of the helper process, behind a thin main().
 *
 * Opens the support library's log, creates the dialog for argv[1], shows it,
 * and reports on `out`: the dialog's answer (written by PrintResultToPipe to
 * standard output) after result 0, otherwise "ret=" and the decimal result
 * code, with no newline. Returns the exit status: the result code (the system
 * keeps its low eight bits), or 1 with a usage line when there is no keyword.
 * An exception that reaches it is logged at level 1; an xvtui_exception
 * gives its code, any other exception ResultCode::ForeignException.
 */
#ifndef XVTUI_APP_ENTRY_H
#define XVTUI_APP_ENTRY_H

#include <cstdio>

int RunEntry(int argc, char** argv, std::FILE* out);

#endif
