#include "ManPage.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>

namespace TellarTool {

namespace {

/// Escapes text for a page: troff interprets backslashes, hyphens, and a dot or an apostrophe at
/// the start of a line.
std::string Escaped(std::string_view text) {
    std::string out;
    bool isStart = true;
    for (const char c : text) {
        if (isStart && (c == '.' || c == '\'')) out += "\\&";
        isStart = c == '\n';
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
    }
    return out;
}

std::string Bold(std::string_view text) {
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(std::string_view text) {
    return "\\fI" + Escaped(text) + "\\fR";
}

std::string Heading(const std::string& title) {
    return ".SH " + title + '\n';
}

std::string Paragraph(const std::string& text) {
    return Escaped(text) + ".\n";
}

/// The names of an option, separated by commas, and its value: "--at PATH".
std::string TermOf(const OptionEntry& option) {
    std::string term;
    for (const std::string& name : option.names)
        term += (term.empty() ? "" : ", ") + Bold(name);
    if (!option.value.empty()) term += ' ' + Italic(option.value);
    return term;
}

void AppendTerm(std::string& out, const std::string& term, const std::string& meaning) {
    out += ".TP\n" + term + '\n' + Paragraph(meaning);
}

std::string SynopsisOf(const CommandEntry& command) {
    std::string line = Bold("tellar " + command.name) + " [" + Italic("options") + ']';
    for (const OptionEntry& positional : command.positionals) {
        const std::string name =
            Italic(positional.names.front()) + (positional.isRepeated ? " ..." : "");
        line += positional.isRequired ? ' ' + name : " [" + name + ']';
    }
    return line + '\n';
}

/// Lines that begin with two blanks are commands and keep their layout; other lines are filled.
std::string ExamplesOf(const std::string& footer) {
    std::string out;
    std::istringstream lines(footer);
    bool isLiteral = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line == "Examples:") continue;
        const bool isCommand = line.compare(0, 2, "  ") == 0;
        if (isCommand != isLiteral) out += isCommand ? ".nf\n" : ".fi\n.PP\n";
        isLiteral = isCommand;
        out += Escaped(std::string_view(line).substr(isCommand ? 2 : 0)) + '\n';
    }
    return out + (isLiteral ? ".fi\n" : "");
}

void AppendOptions(std::string& out, const std::vector<OptionEntry>& options) {
    if (options.empty()) return;
    out += Heading("OPTIONS");
    for (const OptionEntry& option : options)
        AppendTerm(out, TermOf(option), option.help);
}

void AppendFooter(std::string& out, const CommandEntry& command) {
    if (!command.footer.empty()) out += Heading("EXAMPLES") + ExamplesOf(command.footer);
}

std::string InCapitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string Begin(const std::string& name, const std::string& summary, const std::string& version,
                  const std::string& date) {
    return ".TH " + InCapitals(name) + " 1 " + date + " \"tellar " + version + "\"\n" +
           Heading("NAME") + Escaped(name) + " \\- " + Escaped(summary) + '\n' +
           Heading("SYNOPSIS");
}

std::string WithoutFullStop(std::string text) {
    if (!text.empty() && text.back() == '.') text.pop_back();
    return text;
}

std::string ExitStatus() {
    std::string out = Heading("EXIT STATUS");
    AppendTerm(out, "0", "Success");
    AppendTerm(out, "1", "Problems or missing files were found");
    AppendTerm(out, "2", "The arguments or a file are wrong, or memory ran out");
    AppendTerm(out, "130, 143", "A signal ended the work");
    return out;
}

std::string PagesOf(const std::vector<CommandEntry>& commands) {
    std::string out = Heading("SEE ALSO");
    for (std::size_t i = 0; i < commands.size(); ++i)
        out += ".BR tellar\\-" + Escaped(commands[i].name) +
               (i + 1 < commands.size() ? " (1),\n" : " (1)\n");
    return out;
}

std::string TopPage(const CommandTable& table, const std::string& version,
                    const std::string& date) {
    std::string out = Begin("tellar", WithoutFullStop(table.top.summary), version, date) +
                      Bold("tellar") + ' ' + Italic("command") + " [" + Italic("options") + "] [" +
                      Italic("arguments") + "]\n";
    out += Heading("COMMANDS");
    for (const CommandEntry& command : table.subcommands)
        AppendTerm(out, Bold("tellar " + command.name), command.summary);
    AppendOptions(out, table.top.options);
    AppendFooter(out, table.top);
    return out + ExitStatus() + PagesOf(table.subcommands);
}

std::string PageOf(const CommandEntry& command, const std::string& version,
                   const std::string& date) {
    std::string out =
        Begin("tellar-" + command.name, command.summary, version, date) + SynopsisOf(command);
    if (!command.positionals.empty()) out += Heading("ARGUMENTS");
    for (const OptionEntry& positional : command.positionals)
        AppendTerm(out, TermOf(positional), positional.help);
    AppendOptions(out, command.options);
    AppendFooter(out, command);
    return out + Heading("SEE ALSO") + ".BR tellar (1)\n";
}

} // namespace

std::vector<ManPage> MakeManPages(const CommandTable& table, const std::string& version,
                                  const std::string& date) {
    std::vector<ManPage> pages = {{"tellar.1", TopPage(table, version, date)}};
    for (const CommandEntry& command : table.subcommands)
        pages.push_back({"tellar-" + command.name + ".1", PageOf(command, version, date)});
    return pages;
}

} // namespace TellarTool
