#include "Access.h"

#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <ctime>
#include <functional>

#include "Away.h"
#include "Command.h"
#include "Prompt.h"
#include "TerminalGuard.h"
#include "host/CameraTree.h"
#include "host/CommandLine.h"
#include "host/Text.h"
#include "host/access/Accounts.h"

namespace imgctl {
namespace {

using access_control::Accounts;
using access_control::Role;

constexpr char kUsage[] =
    "Usage: imgctl user add NAME [--role ROLE]      the first one is an administrator\n"
    "       imgctl user list\n"
    "       imgctl user remove NAME\n"
    "       imgctl user password NAME\n"
    "       imgctl user role NAME ROLE\n"
    "       imgctl token add NAME [--role ROLE] [--days N]\n"
    "       imgctl token list\n"
    "       imgctl token revoke NAME\n"
    "       imgctl onvif add NAME [--role ROLE]    prints the password that was made\n"
    "       imgctl onvif list\n"
    "       imgctl onvif remove NAME\n"
    "       imgctl tls new [--name NAME]... [--days N] [--cert FILE] [--key FILE]\n"
    "Who may use this camera over the network, see imgctld. ROLE is monitor, viewer, operator or\n"
    "administrator; of a recorder, which logs in by ONVIF, viewer or operator. A password is "
    "asked\n"
    "for at the terminal, or read from standard input.\n"
    "\nOptions:\n";

struct Arguments {
    std::string device;
    std::string users;
    std::string role;
    int days = 0;
    std::vector<std::string> names;
    std::string certificate = "imgctl-cert.pem";
    std::string key = "imgctl-key.pem";
    bool help = false;
    std::vector<std::string> words;

    const std::string& word(std::size_t index) const {
        static const std::string none;
        return index < words.size() ? words[index] : none;
    }
};

std::vector<host::CommandLineOption> commandLine(Arguments& to) {
    const auto text = [](std::string& target) {
        return [&target](const std::string& value) {
            target = value;
            return !value.empty();
        };
    };
    return {
        {"--device", "DIR", "a folder",
         "the device tree that the users belong to (default: as imgctl's)", text(to.device)},
        {"--users", "FILE", "a file", "users and tokens (default: users.cfg in the device tree)",
         text(to.users)},
        {"--role", "ROLE", "monitor, viewer, operator or administrator", "what one may do",
         [&to](const std::string& value) {
             to.role = value;
             return access_control::roleOf(value).has_value();
         }},
        {"--days", "N", "1 .. 36500",
         "how long it is valid (default: a token for ever, a certificate 825 days)",
         [&to](const std::string& value) { return host::readIntWithin(value, 1, 36500, to.days); }},
        {"--name", "NAME", "a host name or an address",
         "what the camera is reached by; repeatable (default: this machine's name, localhost)",
         [&to](const std::string& value) {
             to.names.push_back(value);
             return !value.empty();
         }},
        {"--cert", "FILE", "a file", "where to write the certificate (default imgctl-cert.pem)",
         text(to.certificate)},
        {"--key", "FILE", "a file", "where to write its key (default imgctl-key.pem)",
         text(to.key)},
        {"--help", "", "", "show this help", [&to](const std::string&) { return to.help = true; }}};
}

/// Options may stand among the words.
bool readArguments(int argc, char* const* argv, Arguments& to, std::string& problem) {
    std::vector<std::string> rest(argv + 1, argv + argc);
    const auto options = commandLine(to);
    for (;;) {
        std::vector<char*> pointers = {argv[0]};
        for (std::string& word : rest) {
            pointers.push_back(&word[0]);
        }
        std::vector<std::string> words;
        if (!host::readCommandLine(static_cast<int>(pointers.size()), pointers.data(), options,
                                   &words, problem)) {
            return false;
        }
        if (words.empty()) {
            return true;
        }
        to.words.push_back(words[0]);
        rest.assign(words.begin() + 1, words.end());
    }
}

void printLine(const std::string& text) {
    std::printf("%s\n", text.c_str());
}

Status refuse(Status status, const std::string& problem) {
    std::fprintf(stderr, "imgctl: %s\n", host::printable(problem).c_str());
    return status;
}

/// Keeps what is typed off the screen while it lives. Ctrl-C ends the reading, so that the terminal
/// gets its echo back.
class Unseen {
public:
    Unseen() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGINT, &action, &m_oldAction);
        if (tcgetattr(STDIN_FILENO, &m_old) == 0) {
            termios quiet = m_old;
            quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            m_changed = tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
        }
    }
    ~Unseen() {
        if (m_changed) {
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_old);
            std::fputc('\n', stderr);
        }
        sigaction(SIGINT, &m_oldAction, nullptr);
    }
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;

private:
    TerminalGuard m_guard;
    termios m_old{};
    struct sigaction m_oldAction {};
    bool m_changed = false;
};

bool ask(const char* question, std::string& answer) {
    std::fputs(question, stderr);
    const Unseen unseen;
    return readLine(stdin, answer);
}

/// Before the file is locked: somebody may take his time.
bool readPassword(const std::string& name, std::string& password, std::string& problem) {
    if (isatty(STDIN_FILENO) == 0) {
        problem = "no password came on standard input";
        return readLine(stdin, password);
    }
    std::string again;
    problem = "no password was given";
    if (!ask(("New password of " + name + ": ").c_str(), password)) {
        return false;
    }
    problem = access_control::passwordProblem(password);
    if (!problem.empty() || !ask("Once more: ", again)) {
        return false;
    }
    problem = "the two are not the same";
    return password == again;
}

std::string expiryOf(const access_control::Token& token) {
    if (token.expires == 0) {
        return "for ever";
    }
    const std::time_t time = access_control::clockTime(token.expires);
    std::tm parts{};
    localtime_r(&time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "until %Y-%m-%d %H:%M", &parts);
    return text;
}

/// @param kind  "user", "token" or "onvif"
Status list(const std::string& file, const std::string& kind) {
    Accounts all;
    std::string problem;
    if (!access_control::readAccounts(file, all, problem)) {
        return refuse(Status::failed, problem);
    }
    if (kind == "user") {
        for (const access_control::User& user : all.users) {
            printLine(user.name + " " + nameOf(user.role));
        }
    } else if (kind == "onvif") {
        for (const access_control::OnvifUser& user : all.onvif) {
            printLine(user.name + " " + nameOf(user.role));
        }
    } else {
        for (const access_control::Token& token : all.tokens) {
            printLine(token.name + " " + nameOf(token.role) + " " + expiryOf(token) +
                      (token.maker.empty() ? "" : ", made by " + token.maker));
        }
    }
    return Status::done;
}

Status changeFile(const std::string& file,
                  const std::function<bool(Accounts&, std::string&)>& change) {
    std::string problem;
    return access_control::changeAccounts(file, change, problem) ? Status::done
                                                                 : refuse(Status::failed, problem);
}

Status changePassword(const std::string& file, const Arguments& arguments, bool add) {
    const std::string& name = arguments.word(2);
    Accounts now;
    std::string problem;
    if (!access_control::readAccounts(file, now, problem)) {
        return refuse(Status::failed, problem);
    }
    // Said before a password is typed for nothing.
    if (!access_control::isName(name) || (now.user(name) != nullptr) == add) {
        return refuse(Status::failed, !add ? "there is no user of that name"
                                      : now.user(name) != nullptr
                                          ? "there is a '" + name + "' already"
                                          : "a name is 1 to 32 letters, digits, dots, lines and "
                                            "underlines");
    }
    std::string password;
    if (!readPassword(name, password, problem)) {
        return refuse(Status::failed, problem);
    }
    const Role role = access_control::roleOf(arguments.role)
                          .value_or(now.users.empty() ? Role::Administrator : Role::Viewer);
    return changeFile(file, [&](Accounts& all, std::string& why) {
        return add ? access_control::addUser(all, name, role, password, why)
                   : access_control::setPassword(all, name, password, why);
    });
}

Status user(const std::string& file, const Arguments& arguments) {
    const std::string& action = arguments.word(1);
    const std::string& name = arguments.word(2);
    const std::size_t count = arguments.words.size();
    if ((action == "add" || action == "password") && count == 3) {
        return changePassword(file, arguments, action == "add");
    }
    if (action == "list" && count == 2) {
        return list(file, "user");
    }
    if (action == "remove" && count == 3) {
        return changeFile(file, [&name](Accounts& all, std::string& why) {
            return access_control::removeUser(all, name, why);
        });
    }
    if (action == "role" && count == 4) {
        const std::optional<Role> role = access_control::roleOf(arguments.word(3));
        if (!role) {
            return refuse(Status::usage, "a role is monitor, viewer, operator or administrator");
        }
        return changeFile(file, [&name, &role](Accounts& all, std::string& why) {
            return access_control::setRole(all, name, *role, why);
        });
    }
    return refuse(Status::usage, "imgctl user add, list, remove, password or role; see --help");
}

Status token(const std::string& file, const Arguments& arguments) {
    const std::string& action = arguments.word(1);
    const std::string& name = arguments.word(2);
    const std::size_t count = arguments.words.size();
    if (action == "list" && count == 2) {
        return list(file, "token");
    }
    if (action == "revoke" && count == 3) {
        return changeFile(file, [&name](Accounts& all, std::string& why) {
            return access_control::revokeToken(all, name, why);
        });
    }
    if (action != "add" || count != 3) {
        return refuse(Status::usage, "imgctl token add, list or revoke; see --help");
    }
    const Role role = access_control::roleOf(arguments.role).value_or(Role::Viewer);
    std::string secret;
    const Status status = changeFile(file, [&](Accounts& all, std::string& why) {
        return access_control::addToken(all, name, role, std::string(), arguments.days, secret,
                                        why);
    });
    if (status == Status::done) {
        printLine(secret);
    }
    return status;
}

Status onvif(const std::string& file, const Arguments& arguments) {
    const std::string& action = arguments.word(1);
    const std::string& name = arguments.word(2);
    const std::size_t count = arguments.words.size();
    if (action == "list" && count == 2) {
        return list(file, "onvif");
    }
    if (action == "remove" && count == 3) {
        return changeFile(file, [&name](Accounts& all, std::string& why) {
            return access_control::removeOnvifUser(all, name, why);
        });
    }
    if (action != "add" || count != 3) {
        return refuse(Status::usage, "imgctl onvif add, list or remove; see --help");
    }
    const Role role = access_control::roleOf(arguments.role).value_or(Role::Viewer);
    std::string password;
    const Status status = changeFile(file, [&](Accounts& all, std::string& why) {
        return access_control::addOnvifUser(all, name, role, password, why);
    });
    if (status == Status::done) {
        printLine(password);
    }
    return status;
}

#ifdef IMGCTL_TLS
Status tls(const Arguments& arguments) {
    if (arguments.word(1) != "new" || arguments.words.size() != 2) {
        return refuse(Status::usage, "imgctl tls new; see --help");
    }
    std::vector<std::string> names = arguments.names;
    char machine[256] = "";
    if (names.empty() && gethostname(machine, sizeof machine - 1) == 0 && machine[0] != '\0') {
        names.emplace_back(machine);
    }
    if (arguments.names.empty()) {
        names.insert(names.end(), {"localhost", "127.0.0.1"});
    }
    std::string fingerprint;
    std::string problem;
    const Away* const module = away(problem);
    if (module == nullptr ||
        !module->makeSelfSigned(names, arguments.days == 0 ? 825 : arguments.days,
                                arguments.certificate, arguments.key, fingerprint, problem)) {
        return refuse(Status::failed, problem);
    }
    printLine("certificate " + arguments.certificate + ", key " + arguments.key + "\nSHA-256 " +
              fingerprint);
    return Status::done;
}
#else
Status tls(const Arguments& /*arguments*/) {
    return refuse(Status::failed, "this imgctl is built without encryption");
}
#endif

} // namespace

bool isAccessCommand(const char* word) {
    const std::string text = word != nullptr ? word : "";
    return text == "user" || text == "token" || text == "onvif" || text == "tls";
}

int runAccess(int argc, char* const* argv) {
    Arguments arguments;
    std::string problem;
    if (!readArguments(argc, argv, arguments, problem)) {
        return static_cast<int>(refuse(Status::usage, problem));
    }
    if (arguments.help) {
        std::printf("%s%s", kUsage, host::commandLineHelp(commandLine(arguments)).c_str());
        return static_cast<int>(Status::done);
    }
    if (arguments.word(0) == "tls") {
        return static_cast<int>(tls(arguments));
    }
    std::string file = arguments.users;
    if (file.empty()) {
        host::CameraOptions asked;
        asked.device = arguments.device;
        host::CameraTree tree;
        if (!host::deviceTreeFor(asked, tree, problem)) {
            return static_cast<int>(refuse(Status::failed, problem));
        }
        if (access(tree.path.c_str(), F_OK) != 0) {
            return static_cast<int>(refuse(Status::failed, "there is no device tree " + tree.path +
                                                               "; name it with --device"));
        }
        file = tree.path + "/users.cfg";
    }
    const std::string& subject = arguments.word(0);
    return static_cast<int>(subject == "user"    ? user(file, arguments)
                            : subject == "token" ? token(file, arguments)
                                                 : onvif(file, arguments));
}

} // namespace imgctl
