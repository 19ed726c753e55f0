#include "Prompt.h"

#include <histedit.h>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "Completion.h"
#include "Interrupt.h"
#include "Output.h"

namespace imgctl {
namespace {

constexpr int kHistoryLines = 1000;
constexpr std::size_t kScreenWidth = 78;

char* promptText(EditLine* /*editor*/) {
    static char text[] = "imgctl> ";
    return text;
}

void showCandidates(const std::vector<std::string>& candidates) {
    std::size_t column = 0;
    for (const std::string& candidate : candidates) {
        if (column == 0 || column + candidate.size() + 2 > kScreenWidth) {
            std::fputc('\n', answers());
            column = 0;
        }
        std::fprintf(answers(), "%s  ", candidate.c_str());
        column += candidate.size() + 2;
    }
    std::fputc('\n', answers());
    std::fflush(answers());
}

/// Where lines are kept across sessions; "" where this user has no folder for it.
std::string historyFile() {
    const char* const state = std::getenv("XDG_STATE_HOME");
    const char* const home = std::getenv("HOME");
    std::string folder;
    if (state != nullptr && state[0] == '/') {
        folder = state;
    } else if (home != nullptr && home[0] == '/') {
        folder = std::string(home) + "/.local/state";
    } else {
        return "";
    }
    std::error_code error;
    std::filesystem::create_directories(folder + "/imgctl", error);
    return error ? "" : folder + "/imgctl/history";
}

unsigned char complete(EditLine* editor, int /*key*/) {
    const LineInfo* info = el_line(editor);
    const std::string line(info->buffer, info->cursor);
    std::size_t start = 0;
    const std::vector<std::string> candidates = completions(line, start);
    if (candidates.empty()) {
        return CC_ERROR;
    }
    const std::string common = commonBeginning(candidates);
    const std::string addition = common.substr(std::min(line.size() - start, common.size())) +
                                 (candidates.size() == 1 && start == 0 ? " " : "");
    if (!addition.empty()) {
        return el_insertstr(editor, addition.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    showCandidates(candidates);
    return CC_REDISPLAY;
}

unsigned char clearLine(EditLine* editor, int /*key*/) {
    std::fputs("^C\n", answers());
    std::fflush(answers());
    const LineInfo* info = el_line(editor);
    el_cursor(editor, static_cast<int>(info->lastchar - info->cursor));
    info = el_line(editor);
    el_deletestr(editor, static_cast<int>(info->lastchar - info->buffer));
    return CC_REDISPLAY;
}

} // namespace

Prompt::Prompt(FILE* terminal)
    : m_editor(el_init("imgctl", stdin, terminal, stderr)), m_history(history_init()) {
    HistEvent event;
    history(m_history, &event, H_SETSIZE, kHistoryLines);
    history(m_history, &event, H_SETUNIQUE, 1);
    m_historyFile = historyFile();
    if (!m_historyFile.empty()) {
        history(m_history, &event, H_LOAD, m_historyFile.c_str());
    }
    el_set(m_editor, EL_PROMPT, promptText);
    el_set(m_editor, EL_EDITOR, "emacs");
    el_set(m_editor, EL_HIST, history, m_history);
    el_set(m_editor, EL_ADDFN, "imgctl-complete", "Complete the word", complete);
    el_set(m_editor, EL_BIND, "^I", "imgctl-complete", nullptr);
    el_set(m_editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    // While a line is edited Ctrl-C is a key like others; while a command runs it interrupts.
    el_set(m_editor, EL_ADDFN, "imgctl-clear", "Clear the line", clearLine);
    el_set(m_editor, EL_BIND, "^C", "imgctl-clear", nullptr);
    el_set(m_editor, EL_SETTY, "-d", "-isig", nullptr);
    catchInterrupts();
}

Prompt::~Prompt() {
    if (!m_historyFile.empty()) {
        HistEvent event;
        history(m_history, &event, H_SAVE, m_historyFile.c_str());
    }
    history_end(m_history);
    el_end(m_editor);
}

bool Prompt::read(std::string& line) {
    int length = 0;
    takeInterrupt();
    errno = 0;
    const char* text = el_gets(m_editor, &length);
    while (text == nullptr && errno == EINTR && takeInterrupt()) {
        std::fputc('\n', answers());
        errno = 0;
        text = el_gets(m_editor, &length);
    }
    if (text == nullptr || length <= 0) {
        std::fputc('\n', answers());
        return false;
    }
    line.assign(text, static_cast<std::size_t>(length));
    if (line.find_first_not_of(" \t\n") != std::string::npos) {
        HistEvent event;
        history(m_history, &event, H_ENTER, text);
    }
    return true;
}

} // namespace imgctl
