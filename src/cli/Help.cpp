#include "cli/Help.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

namespace marrowkit::cli {

namespace {

constexpr std::size_t kTerminalColumns = 80;
constexpr std::size_t kNameColumns = 26;

std::string Wrapped(const std::string& text, std::size_t columns) {
    std::string result;
    std::size_t lineLength = 0;
    for (const std::string& word : CLI::detail::split(text, ' ')) {
        if (lineLength > 0 && lineLength + 1 + word.size() > columns) {
            result += '\n';
            lineLength = 0;
        } else if (lineLength > 0) {
            result += ' ';
            ++lineLength;
        }
        result += word;
        lineLength += word.size();
    }
    return result;
}

/// Paragraphs filled anew; indented lines (examples) stay as they are.
std::string Filled(const std::string& text) {
    std::string result;
    std::string paragraph;
    const auto endParagraph = [&] {
        if (!paragraph.empty()) result += Wrapped(paragraph, kTerminalColumns) + "\n";
        paragraph.clear();
    };
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.front() != ' ') {
            paragraph += (paragraph.empty() ? "" : " ") + line;
            continue;
        }
        endParagraph();
        result += line + "\n";
    }
    endParagraph();
    return result;
}

class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter() {
        label("SUBCOMMAND", "COMMAND");
        label("Positionals", "Arguments");
        column_width(kNameColumns);
    }

    /// Behind an option's name only what it takes; the rest is said in its description. An argument's name
    /// says what it is.
    std::string make_option_opts(const CLI::Option* option) const override {
        if (option->get_positional()) return option->get_expected_max() > 1 ? "..." : "";
        if (option->get_type_size() == 0) return "";
        const std::string& what = option->get_option_text();
        // A type's name goes on with the values that are allowed.
        return " " +
               (what.empty() ? option->get_type_name().substr(0, option->get_type_name().find(':')) : what);
    }

    std::string make_option_desc(const CLI::Option* option) const override {
        std::string text = option->get_description();
        if (!option->get_default_str().empty()) text += " (default: " + option->get_default_str() + ")";
        for (const CLI::Option* other : option->get_excludes()) text += "; not with " + other->get_name();
        for (const CLI::Option* other : option->get_needs()) text += "; needs " + other->get_name();
        return Wrapped(text, kTerminalColumns - kNameColumns);
    }

    std::string make_footer(const CLI::App* app) const override {
        constexpr const char* kGlobalOptions =
            "\n\nThe options of the program (--library, --json, --quiet, --yes) may stand behind a command, "
            "too.";
        return Filled(app->get_footer() + (app->get_parent() != nullptr ? kGlobalOptions : ""));
    }
};

/// How many letters have to be typed, left out, changed or swapped with the next to make `b` of `a`.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> distance(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) distance[i][0] = i;
    std::iota(distance[0].begin(), distance[0].end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed = distance[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            distance[i][j] = std::min({distance[i - 1][j] + 1, distance[i][j - 1] + 1, changed});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                distance[i][j] = std::min(distance[i][j], distance[i - 2][j - 2] + 1);
            }
        }
    }
    return distance[a.size()][b.size()];
}

/// " Did you mean 'list'?", or nothing when no name is like it.
std::string Suggestion(const std::vector<std::string>& names, const std::string& typed) {
    std::string best;
    std::size_t bestDistance = 1 + typed.size() / 3;
    for (const std::string& name : names) {
        const std::size_t distance = EditDistance(typed, name);
        if (distance > bestDistance || (distance == bestDistance && !best.empty())) continue;
        best = name;
        bestDistance = distance;
    }
    return best.empty() ? "" : " Did you mean '" + best + "'?";
}

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands(nullptr)) names.push_back(command->get_name());
    return names;
}

void AddOptionNames(const CLI::App& app, std::vector<std::string>& names) {
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
}

bool LooksLikeAnOption(const std::string& argument) {
    return argument.size() > 1 && argument.front() == '-';
}

std::string UnknownOptionText(const CLI::App& app, const std::string& argument) {
    const std::string typed = argument.substr(0, argument.find('='));
    std::vector<std::string> names;
    AddOptionNames(app, names);
    for (const CLI::App* command : app.get_subcommands()) AddOptionNames(*command, names);
    // Two dashes are like each other in any pair of options.
    const bool isLong = typed.starts_with("--");
    return "There is no option '" + typed + "'." + (isLong ? Suggestion(names, typed) : "");
}

/// What is wrong with arguments that nothing takes. The parser lists them in no order of any use, together
/// with the values of an option that it does not know.
std::string SurplusText(const CLI::App& app, const std::vector<std::string>& arguments) {
    const auto option = std::find_if(arguments.begin(), arguments.end(), LooksLikeAnOption);
    if (option != arguments.end()) return UnknownOptionText(app, *option);
    std::string text = "There are more arguments than expected:";
    for (const std::string& argument : arguments) text += " " + argument;
    return text;
}

/// The parser's own words, but for those that nobody would say.
std::string ParserText(const CLI::ParseError& error) {
    const std::string text = error.what();
    const std::size_t twice = text.find(": At Most 1 required but received ");
    return twice == std::string::npos ? text : text.substr(0, twice) + " may be given only once";
}

}  // namespace

void StyleHelp(CLI::App& app) {
    app.formatter(std::make_shared<HelpFormatter>());
}

std::string WrongUsageText(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const std::string& program = app.get_name();
    if (chosen.empty() && error.get_name() == "RequiredError") {
        // The parser calls a mistyped command a missing one.
        const std::vector<std::string> rest = app.remaining();
        std::string what = "A command is missing.";
        if (!rest.empty() && LooksLikeAnOption(rest.front())) {
            what = UnknownOptionText(app, rest.front());
        } else if (!rest.empty()) {
            what =
                "There is no command '" + rest.front() + "'." + Suggestion(CommandNames(app), rest.front());
        }
        return what + "\n'" + program + " --help' lists the commands.\n";
    }
    std::string text = ParserText(error) + "\n";
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError))
        text = SurplusText(app, app.remaining(true)) + "\n";
    if (chosen.empty()) return text + "'" + program + " --help' lists the options.\n";
    const std::string command = program + " " + chosen.front()->get_name();
    const auto formatter = std::dynamic_pointer_cast<CLI::Formatter>(app.get_formatter());
    return text + formatter->make_usage(chosen.front(), command) + "'" + command + " --help' explains it.\n";
}

}  // namespace marrowkit::cli
