#include <string>

#include "platform/files/StartProgram.h"

namespace marrowkit {

std::vector<std::string> SplitCommandLine(std::string_view commandLine) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    bool quoted = false;
    for (const char c : commandLine) {
        if (c == '"') {
            quoted = !quoted;
            inWord = true;  // "" is an argument, an empty one
        } else if ((c == ' ' || c == '\t') && !quoted) {
            if (inWord) words.push_back(word);
            word.clear();
            inWord = false;
        } else {
            word.push_back(c);
            inWord = true;
        }
    }
    if (inWord) words.push_back(word);
    return words;
}

}  // namespace marrowkit
