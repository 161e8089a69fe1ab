#pragma once

#include <string>

/// Standard input and output in the places of files.
namespace pyrelux::media {

/// The name of standard input.
constexpr const char *standardInput = "-";

/// The name of standard output, which has to say what format its bytes have: "-:mov". A file of that name is "./-:mov".
std::string standardOutput(const std::string &format);

/// The format of standard output; empty for the name of a file.
std::string standardOutputFormat(const std::string &path);

/// How messages call what has this name: "standard input", "standard output", or the path in quotes.
std::string shownName(const std::string &path);

/// The name of the file that standard input is read from; "-" if it is a pipe.
std::string standardInputFile();

/// Has to be called once by who reads standard input. Thread: any. Throws InputError: a terminal, closed, taken
/// already.
void takeStandardInput();

/// Throws OutputError if standard output is a terminal or closed.
void requireStandardOutput();

}  // namespace pyrelux::media
