// What both tools do alike on the command line: their start (standard streams that
// may be closed, failed allocations), decimal numbers, and the progress line.
#pragma once
#include <string>

// Call first. A standard stream the tool was started without (input, output or error
// closed) is opened on /dev/null, so that no file the tool opens later takes its
// descriptor and receives the tool's messages; and a failed allocation ends the tool
// with "NAME: out of memory" and exit status 1.
void ToolStart(const char* name);
// 1 when the tool was started with standard output closed: "-" has nowhere to go.
int ToolStandardOutputClosed();

// A plain decimal number: an optional minus, digits, and for a fraction (`whole` false)
// an optional point with digits and an exponent (1.5, .5, 2e-3). No sign +, spaces,
// hexadecimal, inf or nan. Returns 1 and the value, or 0.
int ToolDecimal(const char* text, bool whole, double* value);

// The columns of the terminal on standard error (80 when it does not say).
int ToolTerminalColumns();
// Shows `line` as the progress line on standard error, over the one before, cut to the
// terminal's width so that it never wraps into a line per update.
void ToolProgressShow(const std::string& line);
