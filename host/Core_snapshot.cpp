#include "host/Core.h"

#include <algorithm>
#include <cstdlib>

#include "LinuxFramework.h"
#include "SensorConfig.h"
#include "host/Catalogue.h"
#include "host/SchemeFiles.h"
#include "host/Text.h"

namespace host {

void Core::makeCatalogueNow() {
    CatalogueSource source;
    if (g_pKeyCmdMap != nullptr) {
        source.rows.assign(g_pKeyCmdMap, g_pKeyCmdMap + g_nKeyCmdNum);
    }
    source.style = m_controller->getUIStyleFile();
    for (const int language : m_uiTexts.languages()) {
        source.languages[language] = m_controller->getUILanguageFile(language);
        source.commons[language] = m_controller->getUICommonFile(language);
    }
    source.factory = m_factory;
    // The library's own record of them is what a scheme is compared with.
    for (KeyVal& pair : source.factory) {
        m_controller->getKeyValFromCache(static_cast<u32>(m_memory.timed()), pair.key, pair.value);
    }
    std::vector<Reading> old = std::move(m_readings);
    const std::shared_ptr<const Catalogue> before = std::move(m_catalogue);
    m_catalogue = makeCatalogue(source);
    m_readings.assign(m_catalogue->parameters.size(), Reading());
    for (std::size_t i = 0; before != nullptr && i < old.size(); ++i) {
        const std::size_t now = m_catalogue->indexOf(before->parameters[i].key);
        if (now < m_readings.size()) {
            m_readings[now] = std::move(old[i]);
        }
    }
}

/// Why a key has no effect now, or cannot be set.
Refusal Core::blockOf(const Parameter& about, const Reading& read) const {
    Refusal refusal;
    if (about.storedOnly()) {
        return refusal;
    }
    if (m_gone) {
        refusal.reason = Reason::Gone;
        return refusal;
    }
    if ((read.state != nullptr && !read.state->supported) || read.unsupported) {
        refusal.reason = Reason::Unsupported;
        return refusal;
    }
    if (about.key == KEY_WDR_MODE && !m_wideDynamicRangeShown) {
        refusal.reason = Reason::Blocked;
        refusal.detail = "it is not available at " + std::to_string(m_options.framesPerSecond) +
                         " frames a second";
        return refusal;
    }
    if (about.enabledBy) {
        const Parameter* master = parameter(*about.enabledBy);
        if (master != nullptr && inForce(*master) == 0) {
            refusal.reason = Reason::Blocked;
            refusal.blocker = master->key;
            refusal.detail = master->label(0) + " is off";
            return refusal;
        }
    }
    if (read.state != nullptr && (read.state->inactive || read.state->held)) {
        refusal.reason = Reason::Blocked;
        refusal.detail = read.state->blocker;
        if (read.state->blockerCommand != 0) {
            refusal.blocker = read.state->blockerCommand;
            for (const Parameter& other : m_catalogue->parameters) {
                if (other.command == read.state->blockerCommand) {
                    refusal.blocker = other.key;
                }
            }
        }
    }
    return refusal;
}

void Core::publish() {
    const auto made = std::make_shared<Snapshot>();
    Snapshot& now = *made;
    now.number = m_snapshot == nullptr ? 1 : m_snapshot->number + 1;
    now.bootId = journal.bootId();
    now.time = cameraTime();
    now.scheme = m_scheme;
    now.rule = ruleNow(now.time);
    now.next = nextSwitch(now.time);
    now.bySchedule = m_bySchedule;
    now.dayNightSchemes = m_dayNightSchemes;
    now.night = m_night;
    now.framesPerSecond = m_options.framesPerSecond;
    now.wideDynamicRangeAllowed = m_wideDynamicRangeShown;
    now.deviceType = static_cast<int>(g_stSysConf.nDeviceType);
    now.moduleId = m_controller->getSensorType();
    now.detail = g_stSysConf.moduleConfig.szDetail;
    now.layer.name = m_layer->name();
    now.layer.device = m_layer->device();
    now.layer.present =
        m_layer->state(&now.layer.goneSeconds) == image_adjust::DeviceState::Present && !m_gone;
    now.layer.version = m_version;
    now.catalogue = m_catalogue;
    now.problems = m_problems;
    now.values.resize(m_catalogue->parameters.size());
    for (std::size_t i = 0; i < now.values.size(); ++i) {
        const Parameter& about = m_catalogue->parameters[i];
        const Reading& read = m_readings[i];
        Value& value = now.values[i];
        value.stored = m_memory.stored(m_scheme, about.key);
        value.saved = m_memory.saved(m_scheme, about.key);
        value.readBack = read.value;
        value.limits = read.limits;
        value.restricted = read.restricted;
        value.state = read.state;
        value.block = blockOf(about, read);
        const auto overlay = m_overlays.find(about.key);
        if (overlay != m_overlays.end()) {
            value.applied = overlay->second.value;
            value.onTrial = overlay->second.onTrial;
        }
    }
    now.schemes.reserve(static_cast<std::size_t>(m_memory.timed()) + 1);
    for (int number = 0; number <= m_memory.timed(); ++number) {
        now.schemes.push_back(m_memory.describe(number));
        now.schemes.back().inForce = number == m_scheme;
        now.unsaved += now.schemes.back().unsaved;
    }
    for (const auto& difference : m_differences) {
        now.differences.push_back(difference.second);
    }
    now.settled = m_settled && !m_gone;
    if (m_trial) {
        now.trial = m_trial;
        now.trial->secondsLeft =
            static_cast<double>(m_trial->endsAt - linux_framework::deviceMicroseconds()) / 1e6;
        for (const auto& [key, overlay] : m_overlays) {
            if (overlay.onTrial) {
                now.trial->values.push_back({key, overlay.value});
                now.trial->returnsTo[key] = m_memory.stored(m_scheme, key).value_or(0);
            }
        }
    }
    const auto sameWindow = [](const Scheme& one, const Scheme& other) {
        return one.window == other.window;
    };
    if (m_snapshot == nullptr ||
        !std::equal(now.schemes.begin(), now.schemes.end(), m_snapshot->schemes.begin(),
                    m_snapshot->schemes.end(), sameWindow)) {
        m_windowsChanged = now.number;
    }
    now.journal = journal.sequence();
    m_publishedMinute = now.time.minuteOfDay();
    m_changed = false;
    const std::lock_guard<std::mutex> guard(m_snapshotLock);
    m_snapshot = made;
    m_snapshotChanged.notify_all();
}

} // namespace host
