#include "ManPage.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <sstream>
#include <utility>

#include "Description.h"
#include "ExitCodes.h"
#include "Joined.h"
#include "ParameterHelp.h"
#include "ParameterList.h"
#include "ParameterText.h"

namespace pyrelux::cli {

namespace {

using Rows = std::vector<std::pair<const char *, const char *>>;

// What no declaration tells.
const Rows environment = {
    {"PYRELUX_PLUGIN_PATH", "Folders to look for the filter's bundle in, parted by colons, instead of the usual ones."},
    {"XDG_CONFIG_HOME", "The folder to look for pyrelux/presets in, instead of ~/.config."},
    {"PYRELUX_SIMD",
     "What the soft renderer and the flame's path compute with: scalar, sse2, avx2, avx512 or neon; otherwise the best "
     "that the processor has. 'pyrelux info' tells which."},
    {"PYRELUX_THREADS",
     "How many threads the soft renderer draws with, 1 or more, and how many pictures of a sequence are encoded at the "
     "same time, up to 4; otherwise one for each processor core."},
};

const Rows files = {
    {"lib/pyrelux/Pyrelux.bundle",
     "The filter: looked for beside the program's library, then in ~/.local/lib/pyrelux, /usr/local/lib/pyrelux and "
     "/usr/lib/pyrelux."},
    {"fire.png.manifest.jsonl",
     "Beside the sequence fire.%04d.png: which pictures were finished, and from what. It is what --resume and 'pyrelux "
     "verify' go by."},
    {"~/.config/pyrelux/presets",
     "A user's own presets: project files, each a preset by its name. The shipped ones are in share/pyrelux/presets."},
    {"fire.json", "A project: settings and keyframes, for --project. 'pyrelux parameters --schema' prints its schema."},
};

const Rows examples = {
    {"pyrelux render title.png -o fire.mov --preset inferno", "Two seconds of a burning title, with alpha."},
    {"pyrelux render --text PYRELUX -o fire.png --frames 24", "One frame of a title that there is no picture of."},
    {"pyrelux render matte_####.exr -o fire_####.exr --set glow=45 --set source-opacity=1",
     "A sequence into a sequence, brighter, the source over the flames."},
    {"pyrelux render title.mov -o fire.mp4 --over street.mp4 --frames 1-48", "Over a movie of the same size."},
    {"pyrelux render title.mov -o fire_%04d.png --resume", "The rest of a render that was interrupted."},
    {"pyrelux sheet title.png -o looks.png --vary glow=-50,0,50 --vary preset=torch,magma",
     "Six pictures side by side, labelled."},
};

/// Text for roff: nothing in it is a request or an escape, and quotes, hyphens and the like stay what they are.
std::string roff(const std::string &text) {
  std::string result;
  for (const char c : text) switch (c) {
      case '\\':
        result += "\\e";
        break;
      case '-':
        result += "\\-";
        break;
      case '\'':
        result += "\\(aq";
        break;
      case '~':
        result += "\\(ti";
        break;
      case '^':
        result += "\\(ha";
        break;
      case '`':
        result += "\\(ga";
        break;
      default:
        result += c;
    }
  // A line that begins with a dot would be a request.
  return result.rfind('.', 0) == 0 ? "\\&" + result : result;
}

std::string bold(const std::string &text) { return "\\fB" + roff(text) + "\\fR"; }
std::string italic(const std::string &text) { return "\\fI" + roff(text) + "\\fR"; }

void addRow(std::ostream &page, const std::string &head, const std::string &text) {
  page << ".TP\n" << head << "\n" << roff(text) << "\n";
}

void addRows(std::ostream &page, const std::string &heading, const Rows &rows) {
  page << ".SH " << heading << "\n";
  for (const auto &[head, text] : rows) addRow(page, bold(head), text);
}

void addOption(std::ostream &page, const Option &option) {
  std::vector<std::string> names;
  for (const std::string &name : option.names) names.push_back(bold(name));
  std::string head = joined(names);
  if (!option.value.empty()) head += " " + italic(option.value);
  addRow(page, head, option.about() + (option.isRequired ? " (required)" : ""));
}

void addPositional(std::ostream &page, const Option &positional) {
  addRow(page, italic(positional.names[0]), positional.about());
}

std::string synopsisOf(const Program &program, const Command &command) {
  std::string line = bold(program.name) + " " + bold(command.name) + " [" + italic("OPTIONS") + "]";
  for (const Option &positional : positionalsOf(command)) {
    const std::string name = italic(positional.names[0]);
    line += positional.isRequired ? " " + name : " [" + name + "]";
  }
  return line;
}

void addOptions(std::ostream &page, const std::vector<Option> &rows) {
  std::vector<std::string> groups;
  for (const Option &row : rows)
    if (std::find(groups.begin(), groups.end(), row.group) == groups.end()) groups.push_back(row.group);
  for (const std::string &group : groups) {
    if (!group.empty()) page << ".SS \"" << roff(group) << "\"\n";
    for (const Option &row : rows)
      if (row.group == group) addOption(page, row);
  }
}

/// With columns as wide as they have to be; the last is broken into lines where the page ends.
void addTable(std::ostream &page, const std::vector<host::ParameterDeclaration> &parameters) {
  page << ".TS\nnokeep;\nL L Lx\nL L Lx.\n"
       << bold("NAME") << "\t" << bold("DEFAULT") << "\t" << bold("WHAT IT DOES, AND TAKES") << "\n";
  for (const host::ParameterDeclaration &parameter : parameters)
    page << roff(parameter.slug()) << "\t" << roff(host::formatValue(parameter, parameter.defaultValue)) << "\tT{\n"
         << roff(project::parameterHelp(parameter) + " (" + takes(parameter) + ")") << "\nT}\n";
  page << ".TE\n";
}

void addHead(std::ostream &page, const std::string &name, const std::string &about) {
  std::string title = name;
  std::transform(title.begin(), title.end(), title.begin(), [](unsigned char c) { return std::toupper(c); });
  page << "'\\\" t\n.TH " << roff(title) << " 1 \"\" \"pyrelux " << PYRELUX_VERSION
       << "\" \"User Commands\"\n.SH NAME\n"
       << roff(name) << " \\- " << roff(about) << "\n.SH SYNOPSIS\n";
}

std::string reference(const std::string &page) { return bold(page) + "(1)"; }

std::string pageName(const Program &program, const Command &command) { return program.name + "-" + command.name; }

/// The page of the program as a whole; each command has one of its own.
std::string programPage(const Program &program, const std::vector<host::ParameterDeclaration> &parameters) {
  std::ostringstream page;
  addHead(page, program.name, "sets titles, logos and mattes on fire");
  for (const Command &command : program.commands)
    page << synopsisOf(program, command) << (&command == &program.commands.back() ? "\n" : "\n.br\n");
  page
      << ".SH DESCRIPTION\n"
      << roff(
             "Takes the shape of a title, a logo or a matte and lets tongues of flame rise from it. Pictures, numbered "
             "sequences and movies are read and written, with alpha; neither a screen nor a GPU is needed. Frame N is "
             "rendered at time N and is the same whichever frames are rendered before it.")
      << "\n.SH OPTIONS\n";
  for (const Option &option : program.options) addOption(page, option);
  page << ".SH COMMANDS\n";
  for (const Command &command : program.commands)
    addRow(page, reference(pageName(program, command)), command.about + ".");
  page << ".SH PARAMETERS\n"
       << roff(
              "What --set and --vary take by these names; by label, key or id, too, as 'pyrelux parameters' lists "
              "them. Angles are in degrees, points count from the lower left.")
       << "\n.PP\n";
  addTable(page, parameters);
  page << ".SH \"EXIT STATUS\"\n";
  for (const auto &[code, when] : exitCodes()) addRow(page, bold(code), when + ".");
  page << ".PP\n"
       << roff("Whatever fails is told in one line on standard error. Nothing half written carries an output's name.")
       << "\n";
  addRows(page, "ENVIRONMENT", environment);
  addRows(page, "FILES", files);
  addRows(page, "EXAMPLES", examples);
  page << ".SH \"SEE ALSO\"\n";
  for (const Command &command : program.commands) page << reference(pageName(program, command)) << ",\n";
  page << reference("ffmpeg") << "\n";
  return page.str();
}

std::string commandPage(const Program &program, const Command &command) {
  std::ostringstream page;
  // As the others have it: no full stop, and no capital after the dash.
  std::string about = command.about;
  about[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(about[0])));
  addHead(page, pageName(program, command), about);
  page << synopsisOf(program, command) << "\n";
  if (const std::vector<Option> positionals = positionalsOf(command); !positionals.empty()) {
    page << ".SH ARGUMENTS\n";
    for (const Option &positional : positionals) addPositional(page, positional);
  }
  page << ".SH OPTIONS\n";
  addOptions(page, optionsOf(command));
  Rows own;
  const std::string beginning = program.name + " " + command.name + " ";
  std::copy_if(examples.begin(), examples.end(), std::back_inserter(own),
               [&](const auto &example) { return std::string(example.first).rfind(beginning, 0) == 0; });
  if (!own.empty()) addRows(page, "EXAMPLES", own);
  page << ".SH \"SEE ALSO\"\n"
       << reference(program.name) << roff(" tells of parameters, exit status, environment and files.") << "\n";
  return page.str();
}

}  // namespace

std::vector<ManualPage> manualPages(const Program &program, const std::vector<host::ParameterDeclaration> &parameters) {
  std::vector<ManualPage> pages{{program.name, programPage(program, parameters)}};
  for (const Command &command : program.commands)
    pages.push_back({pageName(program, command), commandPage(program, command)});
  return pages;
}

}  // namespace pyrelux::cli
