#pragma once

#include <vector>

#include "SensorConfig.h"

namespace host {

/// The table of user-interface texts that the library serves from, filled from the device's folder
/// of languages. The texts become the library's, which frees them when it is shut down or reset.
class UiTexts {
public:
    UiTexts() = default;
    ~UiTexts();
    UiTexts(const UiTexts&) = delete;
    UiTexts& operator=(const UiTexts&) = delete;

    /// Hands a new table to the library; after start-up and after each reset, when the texts of the
    /// table before are gone.
    void provide();

    /// Takes the table back. The library must be shut down.
    void withdraw();

    /// The numbers of the languages, ascending.
    std::vector<int> languages() const;

private:
    std::vector<UIFileEntry> m_entries;
};

} // namespace host
