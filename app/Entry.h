/*
 * RunEntry: the whole life of the helper process, behind a thin main().
 *
 * Opens the support library's log, creates the dialog for argv[1], shows it,
 * and reports on standard output: the dialog's answer (written by
 * PrintResultToPipe) after result 0, otherwise protocol::RetText of the result
 * code. Returns the exit status: the result code (the system keeps its low
 * eight bits), or 1 with the usage text when there is no keyword. An
 * exception that reaches it is logged at level 1; an xvtui_exception gives its
 * code (ResultCode::Failed for one that claims success), any other exception
 * ResultCode::ForeignException.
 */
#ifndef XVTUI_APP_ENTRY_H
#define XVTUI_APP_ENTRY_H

int RunEntry(int argc, char** argv);

#endif
