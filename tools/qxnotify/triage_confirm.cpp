#include "qxnotify/triage_confirm.h"

#include <algorithm>
#include <cctype>

#include <unistd.h>

#include "qxnotify/output.h"

namespace qx::tool {

bool is_yes(std::string_view answer)
{
    constexpr std::string_view white = " \t\r\n";
    const auto begin = answer.find_first_not_of(white);
    if (begin == std::string_view::npos) {
        return false;
    }
    std::string word(answer.substr(begin, answer.find_last_not_of(white) - begin + 1));
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
    return word == "y" || word == "yes";
}

bool ask(const std::string& question, int input, StopSignals& stop)
{
    constexpr std::size_t answer_bytes_max = 100;
    write_all(STDERR_FILENO, question + " [y/N] ");
    std::string answer;
    char byte = '\0';
    while (answer.size() < answer_bytes_max && wait_for(input, stop, {}) == Woken::ready &&
           ::read(input, &byte, 1) == 1) {
        answer += byte;
        if (byte == '\n') {
            return is_yes(answer);
        }
    }
    return false; // a line that is not ended was not meant
}

} // namespace qx::tool
