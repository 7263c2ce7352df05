// The scripts have one plan: the words of the command line without options, as far as they are
// words of a command, are its path; behind an option that takes a value come the words for that,
// otherwise what may follow the path.
#include "tools/completion.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace options {
namespace {

using Words = std::vector<std::string>;

struct Offer {
    std::string word;
    std::string help;
};

// What may follow a path.
struct Follow {
    Words path;
    std::vector<Offer> offers;
    bool files = false;
};

std::string join(const Words& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

// In so many words as stand beside a name.
std::string brief(const std::string& help) {
    const std::string first = help.substr(0, help.find_first_of(".;:(\n"));
    return first.substr(0, first.find_last_not_of(' ') + 1);
}

bool is_option(const OptionText& option) { return option.name.starts_with("--"); }

bool is_file(const OptionText& option) {
    return option.value == "FILE" || option.value.ends_with("DIR");
}

bool begins_with(const Words& path, const Words& beginning) {
    return path.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), path.begin());
}

// All paths and beginnings of paths, each once; the empty one first.
std::vector<Words> all_paths(const ProgramText& program) {
    std::vector<Words> paths{{}};
    for (const CommandText& command : program.commands) {
        for (std::size_t length = 1; length <= command.path.size(); ++length) {
            Words path(command.path.begin(),
                       command.path.begin() + static_cast<std::ptrdiff_t>(length));
            if (std::ranges::find(paths, path) == paths.end()) paths.push_back(std::move(path));
        }
    }
    return paths;
}

void add_words(Follow& follow, const ProgramText& program) {
    const std::size_t at = follow.path.size();
    for (const CommandText& command : program.commands) {
        if (command.path.size() <= at || !begins_with(command.path, follow.path)) continue;
        const std::string& word = command.path[at];
        const std::string help = command.path.size() == at + 1 ? brief(command.help) : "";
        const auto known = std::ranges::find(follow.offers, word, &Offer::word);
        if (known == follow.offers.end()) {
            follow.offers.push_back({word, help});
        } else if (known->help.empty()) {
            known->help = help;
        }
    }
}

void add_options(Follow& follow, const std::vector<OptionText>& options) {
    for (const OptionText& option : options) {
        if (is_option(option)) {
            follow.offers.push_back({option.name, brief(option.help)});
        } else {
            std::ranges::transform(option.offered, std::back_inserter(follow.offers),
                                   [](const std::string& word) {
                                       return Offer{word, ""};
                                   });
            follow.files = follow.files || is_file(option);
        }
    }
}

Follow follow_of(const ProgramText& program, const Words& path) {
    Follow follow{path, {}};
    add_words(follow, program);
    if (path.empty()) {
        add_options(follow, program.options);
        return follow;
    }
    for (const CommandText& command : program.commands) {
        if (command.path == path) add_options(follow, command.options);
    }
    follow.offers.push_back({"--help", "Print this help message and exit"});
    return follow;
}

std::vector<Follow> all_follows(const ProgramText& program) {
    std::vector<Follow> follows;
    for (const Words& path : all_paths(program)) follows.push_back(follow_of(program, path));
    return follows;
}

// Calls for each option that takes a value, with its path.
template <class Call>
void for_each_value(const ProgramText& program, const Call& call) {
    const auto walk = [&call](const Words& path, const std::vector<OptionText>& options) {
        for (const OptionText& option : options) {
            if (is_option(option) && !option.value.empty()) call(join(path), option);
        }
    };
    walk({}, program.options);
    for (const CommandText& command : program.commands) walk(command.path, command.options);
}

// "a" | "b", as a case has it.
std::string alternatives(const std::vector<Follow>& follows) {
    std::string text;
    for (const Follow& follow : follows) {
        if (!follow.path.empty()) {
            text += (text.empty() ? "" : " | ") + ("\"" + join(follow.path) + "\"");
        }
    }
    return text.empty() ? "\"\"" : text;
}

std::string quoted(const std::string& text) {
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? "'\\''" : std::string(1, c);
    return out + "'";
}

// The path's words, for shells of one ancestor. In zsh `path` is where programs are looked for.
std::string walk_over(const std::string& words, const std::vector<Follow>& follows) {
    return "    for word in " + words +
           "; do\n"
           "        [[ $word == -* ]] && continue\n"
           "        case \"${where:+$where }$word\" in\n"
           "        " +
           alternatives(follows) +
           ") where=\"${where:+$where }$word\" ;;\n"
           "        *) break ;;\n"
           "        esac\n"
           "    done\n";
}

std::string bash(const ProgramText& program) {
    const std::vector<Follow> follows = all_follows(program);
    std::string values;
    for_each_value(program, [&values](const std::string& path, const OptionText& option) {
        values += "    \"" + path + ":" + option.name + "\") list=\"" + join(option.offered) +
                  "\"" + (is_file(option) ? " files=yes" : "") + " ;;\n";
    });
    std::string lists;
    for (const Follow& follow : follows) {
        Words words;
        std::ranges::transform(follow.offers, std::back_inserter(words), &Offer::word);
        lists += "    \"" + join(follow.path) + "\") list=\"" + join(words) + "\"" +
                 (follow.files ? " files=yes" : "") + " ;;\n";
    }
    return "# Completion of " + program.name + " for bash.\n_" + program.name +
           "() {\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    local where= list= files= word\n" +
           walk_over("\"${COMP_WORDS[@]:1:COMP_CWORD-1}\"", follows) +
           "    COMPREPLY=()\n"
           "    case \"$where:$prev\" in\n" +
           values + "    *)\n    case \"$where\" in\n" + lists +
           "    esac ;;\n"
           "    esac\n"
           "    mapfile -t COMPREPLY < <(compgen ${files:+-f} -W \"$list\" -- \"$cur\")\n"
           "}\n"
           "complete -o filenames -F _" +
           program.name + " " + program.name + "\n";
}

std::string zsh_entries(const std::vector<Offer>& offers) {
    std::string text;
    for (const Offer& offer : offers) text += " " + quoted(offer.word + ":" + offer.help);
    return text;
}

std::string zsh(const ProgramText& program) {
    const std::vector<Follow> follows = all_follows(program);
    std::string values;
    for_each_value(program, [&values](const std::string& path, const OptionText& option) {
        const std::string words =
            option.offered.empty() ? "" : "compadd -- " + join(option.offered) + "; ";
        values += "    \"" + path + ":" + option.name + "\") " +
                  (is_file(option) ? "_files; " : words) + "return ;;\n";
    });
    std::string lists;
    for (const Follow& follow : follows) {
        lists += "    \"" + join(follow.path) + "\") list=(" + zsh_entries(follow.offers) + " )" +
                 (follow.files ? "; _files" : "") + " ;;\n";
    }
    const std::string name = "_" + program.name;
    return "#compdef " + program.name + "\n# Completion of " + program.name + " for zsh.\n" + name +
           "() {\n"
           "    local where= word\n"
           "    local -a list\n" +
           walk_over("\"${(@)words[2,CURRENT-1]}\"", follows) +
           "    case \"$where:${words[CURRENT-1]}\" in\n" + values +
           "    esac\n"
           "    case \"$where\" in\n" +
           lists +
           "    esac\n"
           "    _describe " +
           program.name +
           " list\n"
           "}\n"
           "# Found in a folder of functions, the file is the function; a shell that reads it is told.\n"
           "if [[ $funcstack[1] == " +
           name + " ]]; then " + name + " \"$@\"; else compdef " + name + " " + program.name +
           "; fi\n";
}

// The beginning of a line about what may follow a path.
std::string fish_line(const ProgramText& program, const std::string& path) {
    std::string line = "complete -c ";
    line += program.name;
    line += " -n '__";
    line += program.name;
    line += "_at \"";
    line += path;
    line += "\"' ";
    return line;
}

std::string fish_offer(const Offer& offer) {
    const bool is_long = offer.word.starts_with("--");
    std::string text = is_long ? "-l " + offer.word.substr(2) : "-a " + offer.word;
    if (!offer.help.empty()) text += " -d " + quoted(offer.help);
    return text + "\n";
}

std::string fish_value(const OptionText& option) {
    std::string text = "-l " + option.name.substr(2) + (is_file(option) ? " -r -F" : " -x");
    if (!option.offered.empty()) text += " -a " + quoted(join(option.offered));
    return text + "\n";
}

std::string fish(const ProgramText& program) {
    std::string known;
    std::string lines;
    for (const Follow& follow : all_follows(program)) {
        const std::string path = join(follow.path);
        const std::string begin = fish_line(program, path);
        if (!path.empty()) known += " " + quoted(path);
        if (follow.files) lines.append(begin).append("-F\n");
        for (const Offer& offer : follow.offers) lines.append(begin).append(fish_offer(offer));
    }
    for_each_value(program, [&](const std::string& path, const OptionText& option) {
        lines.append(fish_line(program, path)).append(fish_value(option));
    });
    return "# Completion of " + program.name + " for fish.\nfunction __" + program.name +
           "_at\n"
           "    set -l where\n"
           "    for word in (commandline -opc)[2..-1]\n"
           "        string match -q -- '-*' $word; and continue\n"
           "        contains -- (string join ' ' -- $where $word)" +
           known +
           "; or break\n"
           "        set -a where $word\n"
           "    end\n"
           "    test \"$where\" = $argv[1]\n"
           "end\n"
           "complete -c " +
           program.name + " -f\n" + lines;
}

}  // namespace

std::optional<std::string> completion(const ProgramText& program, std::string_view shell) {
    if (shell == "bash") return bash(program);
    if (shell == "zsh") return zsh(program);
    if (shell == "fish") return fish(program);
    return std::nullopt;
}

}  // namespace options
