#include "host/WindowWarnings.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <set>

#include "host/Names.h"
#include "host/SchemeFiles.h"

namespace host {
namespace {

using Kind = WindowWarning::Kind;

// What windowFault tells.
constexpr int kStartsTooLate = 505;
constexpr int kEndsFirst = 507;

std::string timeText(int hour, int minute) {
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d", hour, minute);
    return text;
}

std::string sentenceOf(std::string text) {
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text + ".";
}

std::string spanText(int from, int to) {
    return minuteText(from) + " to " + minuteText(to);
}

/// "1", "1 and 2", "1, 2 and 3"
std::string listText(const std::vector<std::string>& parts) {
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
    }
    return text;
}

class Judge {
public:
    Judge(const Snapshot& snapshot, const std::vector<Scheme>& schemes)
        : m_snapshot(snapshot), m_schemes(schemes) {
        for (int minute = 0; minute < kMinutesOfDay; ++minute) {
            m_winners.push_back(schemeAt(schemes, minute));
        }
    }

    std::vector<WindowWarning> make() {
        for (const Scheme& scheme : m_schemes) {
            if (!scheme.timed) {
                continue;
            }
            const bool inOrder = order(scheme);
            if (scheme.window.enabled) {
                overlaps(scheme);
                never(scheme, inOrder);
            }
        }
        gaps();
        return std::move(m_warnings);
    }

private:
    std::string title(int scheme) const { return schemeTitle(m_snapshot, scheme); }

    void add(Kind kind, const std::string& text, std::vector<int> schemes, int from, int to) {
        m_warnings.push_back({kind, sentenceOf(text), std::move(schemes), from, to});
    }

    static bool holdsAny(const Window& window) {
        for (int minute = 0; minute < kMinutesOfDay; ++minute) {
            if (holds(window, minute)) {
                return true;
            }
        }
        return false;
    }

    /// What saving refuses, whether the window is on or not. @return whether there is nothing
    bool order(const Scheme& scheme) {
        const Window& window = scheme.window;
        const std::string start = timeText(window.startHour, window.startMinute);
        const std::string end = timeText(window.endHour, window.endMinute);
        const int from = window.startHour * 60 + window.startMinute;
        const int to = window.endHour * 60 + window.endMinute;
        const int fault = windowFault(window);
        if (fault == 0) {
            return true;
        }
        const std::string off =
            !window.enabled ? "it is switched off, but must be in order too before the scheme can "
                              "be saved"
            : holdsAny(window) ? "it cannot be saved"
                               : "it never comes into force and cannot be saved";
        std::string text = title(scheme.number) + ": ";
        if (fault != kEndsFirst) {
            const std::string& late = fault == kStartsTooLate ? start : end;
            text += late + " is beyond the day's end, 24:00; " + off;
        } else if (from == to) {
            text += "a window of under a minute, " + start + " to " + end + "; " + off;
        } else {
            text += "the window ends (" + end + ") before it starts (" + start + "); " + off;
            text +=
                ". Over midnight it takes two schemes: " + start + " to 24:00 and 00:00 to " + end;
        }
        add(from == to ? Kind::Short : Kind::Order, text, {scheme.number}, from, to);
        return false;
    }

    /// The minutes that lower schemes take away from one.
    void overlaps(const Scheme& loser) {
        int winner = -1;
        int from = 0;
        for (int minute = 0; minute <= kMinutesOfDay; ++minute) {
            int now = -1;
            if (minute < kMinutesOfDay && holds(loser.window, minute) &&
                winnerAt(minute) != loser.number) {
                now = winnerAt(minute);
            }
            if (now == winner) {
                continue;
            }
            if (winner >= 0) {
                add(Kind::Overlap,
                    spanText(from, minute) + ": " + title(winner) + " wins over " +
                        title(loser.number) + " (lower number)",
                    {winner, loser.number}, from, minute);
            }
            winner = now;
            from = minute;
        }
    }

    /// @param inOrder  false: it is told of already that the window holds nothing
    void never(const Scheme& scheme, bool inOrder) {
        std::set<int> winners;
        for (int minute = 0; minute < kMinutesOfDay; ++minute) {
            if (holds(scheme.window, minute)) {
                winners.insert(winnerAt(minute));
            }
        }
        const Window& window = scheme.window;
        const int from = window.startHour * 60 + window.startMinute;
        const int to = window.endHour * 60 + window.endMinute;
        if (winners.empty() && inOrder) {
            add(Kind::Short,
                title(scheme.number) + " never comes into force: from " +
                    timeText(window.startHour, window.startMinute) + " to " +
                    timeText(window.endHour, window.endMinute) + " is no minute of the clock",
                {scheme.number}, from, to);
        } else if (!winners.empty() && winners.count(scheme.number) == 0) {
            std::vector<std::string> titles;
            std::vector<int> schemes{scheme.number};
            for (const int winner : winners) {
                titles.push_back(title(winner));
                schemes.push_back(winner);
            }
            add(Kind::Never,
                title(scheme.number) + " never comes into force: " + listText(titles) +
                    (titles.size() == 1 ? " holds" : " hold") + " all its hours",
                std::move(schemes), from, to);
        }
    }

    void gaps() {
        const int none = static_cast<int>(m_schemes.size()) - 1;
        const auto first = std::find_if(m_winners.begin(), m_winners.end(),
                                        [none](int winner) { return winner != none; });
        if (m_snapshot.dayNightSchemes || first == m_winners.end()) {
            return;
        }
        // Once round the clock from a minute that a window holds, so that a gap
        // over midnight is one.
        const int start = static_cast<int>(first - m_winners.begin());
        int from = -1;
        for (int i = 0; i <= kMinutesOfDay; ++i) {
            const int minute = start + i;
            const bool gap = winnerAt(minute % kMinutesOfDay) == none;
            if (gap && from < 0) {
                from = minute;
            } else if (!gap && from >= 0) {
                const int to = minute % kMinutesOfDay == 0 ? kMinutesOfDay : minute % kMinutesOfDay;
                add(Kind::Gap,
                    spanText(from % kMinutesOfDay, to) +
                        ": no window; the factory values are in force and changes are not kept",
                    {}, from % kMinutesOfDay, to);
                from = -1;
            }
        }
    }

    int winnerAt(int minute) const { return m_winners[static_cast<std::size_t>(minute)]; }

    const Snapshot& m_snapshot;
    const std::vector<Scheme>& m_schemes;
    std::vector<int> m_winners; ///< by minute of the day
    std::vector<WindowWarning> m_warnings;
};

} // namespace

std::vector<WindowWarning> windowWarnings(const Snapshot& snapshot,
                                          const std::vector<Scheme>& schemes) {
    return Judge(snapshot, schemes).make();
}

std::string minuteText(int minute) {
    const int ofDay = minute == kMinutesOfDay ? minute : minute % kMinutesOfDay;
    return timeText(ofDay / 60, ofDay % 60);
}

} // namespace host
