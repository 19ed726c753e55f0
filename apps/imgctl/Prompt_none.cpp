#include <cerrno>

#include "Interrupt.h"
#include "Output.h"
#include "Prompt.h"

// The terminal's own editing of lines is all there is.
namespace imgctl {

Prompt::Prompt(FILE* /*terminal*/) : m_editor(nullptr), m_history(nullptr) {
    catchInterrupts();
}

Prompt::~Prompt() = default;

bool Prompt::read(std::string& line) {
    bool again = true;
    bool good = false;
    while (again) {
        std::fputs("imgctl> ", answers());
        std::fflush(answers());
        takeInterrupt();
        errno = 0;
        good = readLine(stdin, line);
        again = !good && errno == EINTR && takeInterrupt();
        if (!good) {
            std::clearerr(stdin);
            std::fputc('\n', answers());
        }
    }
    return good;
}

} // namespace imgctl
