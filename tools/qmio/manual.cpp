// The man page and the completion, out of what the parser knows.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "help.h"

#include <qmio.h>

namespace host {

namespace {

std::vector<const CLI::App*> verbs_of(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App* verb) { return !verb->get_group().empty(); });
}

std::vector<const CLI::Option*> named_options(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return option->nonpositional(); });
}

std::vector<const CLI::Option*> positionals(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

// ---- man page ----

// A backslash and a hyphen have a meaning for troff; so has a full stop or an apostrophe at the start of a line.
std::string escaped(const std::string& text) {
    std::string result;
    bool at_start = true;
    for (const char letter : text) {
        if (at_start && (letter == '.' || letter == '\''))
            result += "\\&";
        result += letter == '\\' ? "\\e" : letter == '-' ? "\\-" : std::string(1, letter);
        at_start = letter == '\n';
    }
    return result;
}

std::string synopsis(const CLI::App& verb) {
    std::string text = "qmio " + verb.get_name() + " [OPTION...]";
    for (const CLI::Option* positional : positionals(verb))
        text += " " + positional->get_name(true);
    return text;
}

std::string tagged(const std::string& tag, const std::string& text) {
    return ".TP\n\\fB" + escaped(tag) + "\\fR\n" + escaped(text) + "\n";
}

std::string described(const CLI::Option& option) {
    const std::string otherwise = option.get_default_str();
    return option.get_description() + (otherwise.empty() ? "" : " (default: " + otherwise + ")");
}

std::string options_of(const CLI::App& app) {
    std::string text;
    for (const CLI::Option* positional : positionals(app))
        text += tagged(positional->get_name(true), described(*positional));
    for (const CLI::Option* option : named_options(app))
        text += tagged(option->get_name(false, true), described(*option));
    return text;
}

std::string indented_examples(const CLI::App& app) {
    const std::string footer = app.get_footer();
    std::istringstream lines(footer);
    std::string text;
    for (std::string line; std::getline(lines, line);)
        if (line.rfind("  ", 0) == 0)
            text += escaped(line) + "\n";
    return text.empty() ? "" : ".PP\n.nf\n" + text + ".fi\n";
}

std::string verb_section(const CLI::App& verb) {
    return ".SS " + escaped(verb.get_name()) + "\n" + escaped(verb.get_description()) + "\n.PP\n\\fB" +
           escaped(synopsis(verb)) + "\\fR\n" + options_of(verb) + indented_examples(verb);
}

constexpr const char* kRest = R"(.SH EXIT STATUS
.TP
0
All was done.
.TP
1
A file was in the way; the message names the file and says why.
.TP
2
The command line was wrong.
.SH FILES
.TP
libqmio.cfx
Configuration of the library, beside the library itself. Without it the defaults hold.
.SH ENVIRONMENT
.TP
QMIO_LOG
The log file, where the configuration does not name one.
.TP
COLUMNS
Width of the progress bar, where the terminal does not tell.
)";

// ---- completion ----

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

std::vector<std::string> option_words(const CLI::App& app) {
    std::vector<std::string> words;
    for (const CLI::Option* option : named_options(app))
        for (const std::string& name : option->get_lnames())
            words.push_back("--" + name);
    return words;
}

// The values that an option may have where the parser lists them: TEXT:{dbl,flt}.
std::string choices_of(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t begin = type.find('{'), end = type.find('}');
    if (begin == type.npos || end == type.npos)
        return "";
    std::string values = type.substr(begin + 1, end - begin - 1);
    std::replace(values.begin(), values.end(), ',', ' ');
    return values;
}

std::string choice_cases(const CLI::App& app) {
    std::string text;
    for (const CLI::App* verb : verbs_of(app))
        for (const CLI::Option* option : named_options(*verb))
            if (const std::string values = choices_of(*option); !values.empty())
                text += "        '" + verb->get_name() + " --" + option->get_lnames().front() + "') words='" + values +
                        "' ;;\n";
    return text;
}

std::string option_cases(const CLI::App& app) {
    std::string text;
    for (const CLI::App* verb : verbs_of(app))
        text += "        '" + verb->get_name() + " -'*) words='" + joined(option_words(*verb)) + "' ;;\n";
    return text;
}

}  // namespace

std::string man_page(const CLI::App& app) {
    std::string page = ".TH QMIO 1 \"\" \"qmio " + std::string(qmio_get_file_info(nullptr, "ver")) +
                       "\" \"User Commands\"\n.SH NAME\nqmio \\- " +
                       escaped("read media files by frame number, and write them") +
                       "\n.SH SYNOPSIS\n.B qmio\n\\fIVERB\\fR [\\fIOPTION\\fR...]\n.SH EXAMPLES\n" +
                       indented_examples(app) + ".SH OPTIONS\n" + options_of(app) + ".SH VERBS\n";
    for (const CLI::App* verb : verbs_of(app))
        page += verb_section(*verb);
    return page + kRest;
}

std::string bash_completion(const CLI::App& app) {
    std::vector<std::string> first;
    for (const CLI::App* verb : verbs_of(app))
        first.push_back(verb->get_name());
    for (const std::string& word : option_words(app))
        first.push_back(word);
    return "# Completion of qmio for bash: verbs, their options, the values of those. Files are left to bash.\n"
           "_qmio() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} verb=${COMP_WORDS[1]} "
           "words=''\n"
           "    if [[ $COMP_CWORD -eq 1 ]]; then\n"
           "        words='" +
           joined(first) +
           "'\n"
           "    else\n"
           "        case \"$verb $word\" in\n" +
           option_cases(app) +
           "        esac\n"
           "        case \"$verb $before\" in\n" +
           choice_cases(app) +
           "        esac\n"
           "    fi\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
           "}\n"
           "complete -o default -F _qmio qmio\n";
}

}  // namespace host
