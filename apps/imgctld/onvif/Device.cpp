#include <sys/timex.h>
#include <tinyxml.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <ctime>

#include "ImagingFields.h"
#include "SensorKeys.h"
#include "Services.h"
#include "host/Xml.h"
#include "host/access/Secrets.h"

// The device service: what this camera is, what time it is, and which services it has.
namespace onvif {
namespace {

constexpr Service kServices[] = {Service::Device, Service::Media, Service::Imaging};

std::string addressOf(const Call& call, Service service) {
    const char* const name = service == Service::Device  ? "device"
                             : service == Service::Media ? "media"
                                                         : "imaging";
    return call.asked.base + "/onvif/" + name + "_service";
}

void addDateTime(Element& to, const std::tm& parts) {
    to.at("Time").add("Hour", std::to_string(parts.tm_hour));
    to.at("Time").add("Minute", std::to_string(parts.tm_min));
    to.at("Time").add("Second", std::to_string(parts.tm_sec));
    to.at("Date").add("Year", std::to_string(parts.tm_year + 1900));
    to.at("Date").add("Month", std::to_string(parts.tm_mon + 1));
    to.at("Date").add("Day", std::to_string(parts.tm_mday));
}

/// The zone as POSIX writes it, whose offsets count westwards: "<+0130>-1:30".
std::string zoneOf(const std::tm& local) {
    const long minutes = local.tm_gmtoff / 60;
    const long size = minutes < 0 ? -minutes : minutes;
    if (minutes == 0) {
        return "UTC0";
    }
    char text[48];
    std::snprintf(text, sizeof text, "<%c%02ld%02ld>%s%ld:%02ld", minutes < 0 ? '-' : '+',
                  size / 60, size % 60, minutes < 0 ? "" : "-", size / 60, size % 60);
    return text;
}

/// What a service can, in the words of its own capabilities.
Element capabilitiesOf(const Call& call, Service service) {
    Element all;
    if (service == Service::Device) {
        all.add("Network");
        all.add("Security").with("UsernameToken", "true").with("HttpDigest", "false");
        all.add("System");
    } else if (service == Service::Media) {
        all.with("SnapshotUri", "true");
        all.add("ProfileCapabilities").with("MaximumNumberOfProfiles", "1");
        all.add("StreamingCapabilities")
            .with("RTPMulticast", "false")
            .with("RTP_TCP", "false")
            .with("RTP_RTSP_TCP", "false")
            .with("NoRTSPStreaming", "true");
    } else {
        const bool steady = usable(call.snapshot, KEY_ANTI_SHAKE_SWITCH);
        all.with("ImageStabilization", steady ? "true" : "false")
            .with("Presets", "true")
            .with("AdaptablePreset", "true");
    }
    return all;
}

std::string modelOf(const host::Snapshot& snapshot) {
    const std::string& device = snapshot.layer.device;
    return device.empty() ? "simulated camera" : device;
}

/// A part of an address: what does not belong there as %XX.
std::string inAddress(const std::string& text) {
    std::string result;
    for (const char c : text) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_';
        char code[4];
        std::snprintf(code, sizeof code, "%%%02X",
                      static_cast<unsigned int>(static_cast<unsigned char>(c)));
        result += plain ? std::string(1, c) : std::string(code);
    }
    return result;
}

/// Whether something keeps this machine's clock right.
bool clockIsFollowed() {
    timex state{};
    if (adjtimex(&state) >= 0) {
        return (state.status & STA_UNSYNC) == 0;
    }
    // A service may be kept from all that has to do with the clock; systemd tells it this way too.
    return access("/run/systemd/timesync/synchronized", F_OK) == 0;
}

} // namespace

void Services::deviceTime(const Call& /*call*/, const Done& done) {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    std::tm local{};
    gmtime_r(&now, &utc);
    localtime_r(&now, &local);
    Element answer;
    Element& time = answer.add("SystemDateAndTime");
    time.add("DateTimeType", clockIsFollowed() ? "NTP" : "Manual");
    time.add("DaylightSavings", local.tm_isdst > 0 ? "true" : "false");
    time.at("TimeZone/TZ").text = zoneOf(local);
    addDateTime(time.at("UTCDateTime"), utc);
    addDateTime(time.at("LocalDateTime"), local);
    done(answer);
}

void Services::services(const Call& call, const Done& done) {
    const std::string wanted = childText(call.message.request(), "IncludeCapability");
    Element answer;
    for (const Service one : kServices) {
        Element& service = answer.add("Service");
        service.add("Namespace", namespaceOf(prefixOf(one)));
        service.add("XAddr", addressOf(call, one));
        if (wanted == "true" || wanted == "1") {
            Element capabilities = capabilitiesOf(call, one);
            capabilities.name = std::string(prefixOf(one)) + ":Capabilities";
            service.add("Capabilities").children.push_back(std::move(capabilities));
        }
        service.at("Version/Major").text = "20";
        service.at("Version/Minor").text = "6";
    }
    done(answer);
}

void Services::serviceCapabilities(const Call& call, const Done& done) {
    Element answer;
    Element capabilities = capabilitiesOf(call, call.message.service());
    capabilities.name = "Capabilities";
    answer.children.push_back(std::move(capabilities));
    done(answer);
}

void Services::capabilities(const Call& call, const Done& done) {
    struct Category {
        const char* name;
        Service service;
    };
    constexpr Category known[] = {
        {"Device", Service::Device}, {"Media", Service::Media}, {"Imaging", Service::Imaging}};
    Element answer;
    Element& all = answer.add("Capabilities");
    bool any = false;
    for (const TiXmlElement* child = call.message.request().FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        if (localName(*child) != "Category") {
            continue;
        }
        any = true;
        const std::string wanted = host::textOf(*child);
        bool found = wanted == "All";
        for (const Category& one : known) {
            if (wanted == "All" || wanted == one.name) {
                all.at(std::string(one.name) + "/XAddr").text = addressOf(call, one.service);
                found = true;
            }
        }
        if (!found) {
            return done(Fault{Fault::Code::Receiver, "ActionNotSupported", "NoSuchService",
                              "This camera has no such service.", 0, 0});
        }
    }
    for (const Category& one : known) {
        if (!any) {
            all.at(std::string(one.name) + "/XAddr").text = addressOf(call, one.service);
        }
    }
    for (Element& one : all.children) {
        if (one.name == "Media") {
            for (const char* way : {"RTPMulticast", "RTP_TCP", "RTP_RTSP_TCP"}) {
                one.at(std::string("StreamingCapabilities/") + way).text = "false";
            }
        }
    }
    done(answer);
}

void Services::information(const Call& call, const Done& done) {
    char machine[HOST_NAME_MAX + 1] = "";
    gethostname(machine, sizeof machine - 1);
    const host::LayerState& layer = call.snapshot.layer;
    Element answer;
    answer.add("Manufacturer", "imgctl");
    answer.add("Model", modelOf(call.snapshot));
    answer.add("FirmwareVersion", IMGCTL_VERSION);
    // The same at every start, and another for each camera of a machine.
    answer.add("SerialNumber", access_control::secrets::sha256(std::string(machine) + '\n' +
                                                               layer.name + '\n' + layer.device)
                                   .substr(0, 16));
    answer.add("HardwareId", "type " + std::to_string(call.snapshot.deviceType));
    done(answer);
}

void Services::scopes(const Call& call, const Done& done) {
    const std::string model = inAddress(modelOf(call.snapshot));
    Element answer;
    for (const std::string& item :
         {std::string("type/video_encoder"), "name/" + model, "hardware/" + model}) {
        Element& scope = answer.add("Scopes");
        scope.add("ScopeDef", "Fixed");
        scope.add("ScopeItem", "onvif://www.onvif.org/" + item);
    }
    done(answer);
}

} // namespace onvif
