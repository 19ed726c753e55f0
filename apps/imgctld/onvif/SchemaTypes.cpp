#include "Schema.h"

// The types, each below those that it is made of. The order of the parts is ONVIF's.
namespace onvif {
namespace {

constexpr Count kOne = Count::One;
constexpr Count kOptional = Count::Optional;
constexpr Count kAny = Count::Any;
constexpr Count kSome = Count::Some;

constexpr Shape simple(Content content) {
    Shape shape;
    shape.content = content;
    return shape;
}

constexpr Shape words(const char* list) {
    Shape shape;
    shape.content = Content::Words;
    shape.words = list;
    return shape;
}

template <std::size_t P>
constexpr Shape sequence(const char* prefix, const Part (&parts)[P]) {
    Shape shape;
    shape.prefix = prefix;
    shape.parts = parts;
    shape.partCount = P;
    return shape;
}

template <std::size_t P, std::size_t A>
constexpr Shape sequence(const char* prefix, const Part (&parts)[P],
                         const Attribute (&attributes)[A]) {
    Shape shape = sequence(prefix, parts);
    shape.attributes = attributes;
    shape.attributeCount = A;
    return shape;
}

template <std::size_t A>
constexpr Shape attributesOnly(const Attribute (&attributes)[A]) {
    Shape shape;
    shape.attributes = attributes;
    shape.attributeCount = A;
    return shape;
}

constexpr Shape kNothing;
constexpr Shape kText = simple(Content::Text);
constexpr Shape kInt = simple(Content::Int);
constexpr Shape kFloat = simple(Content::Float);
constexpr Shape kBool = simple(Content::Bool);
constexpr Shape kDuration = simple(Content::Duration);
constexpr Shape kOffOn = words("OFF ON");
constexpr Shape kAutoManual = words("AUTO MANUAL");

// What several services share
// ------------------------------------------------------------------------------------------------

constexpr Part kRangeParts[] = {{"Min", &kFloat, kOne}, {"Max", &kFloat, kOne}};
constexpr Shape kRange = sequence("tt", kRangeParts);
constexpr Part kResolutionParts[] = {{"Width", &kInt, kOne}, {"Height", &kInt, kOne}};
constexpr Shape kResolution = sequence("tt", kResolutionParts);
constexpr Part kAddressParts[] = {{"XAddr", &kText, kOne}};
constexpr Shape kAddress = sequence("tt", kAddressParts);

// Imaging
// ------------------------------------------------------------------------------------------------

constexpr Part kModeLevelParts[] = {{"Mode", &kOffOn, kOne}, {"Level", &kFloat, kOptional}};
constexpr Shape kModeLevel = sequence("tt", kModeLevelParts);
constexpr Shape kPriority = words("LowNoise FrameRate");
constexpr Part kExposureParts[] = {{"Mode", &kAutoManual, kOne},
                                   {"Priority", &kPriority, kOptional},
                                   {"MinExposureTime", &kFloat, kOptional},
                                   {"MaxExposureTime", &kFloat, kOptional},
                                   {"MinGain", &kFloat, kOptional},
                                   {"MaxGain", &kFloat, kOptional},
                                   {"MinIris", &kFloat, kOptional},
                                   {"MaxIris", &kFloat, kOptional},
                                   {"ExposureTime", &kFloat, kOptional},
                                   {"Gain", &kFloat, kOptional},
                                   {"Iris", &kFloat, kOptional}};
constexpr Shape kExposure = sequence("tt", kExposureParts);
constexpr Part kFocusParts[] = {{"AutoFocusMode", &kAutoManual, kOne},
                                {"DefaultSpeed", &kFloat, kOptional},
                                {"NearLimit", &kFloat, kOptional},
                                {"FarLimit", &kFloat, kOptional}};
constexpr Shape kFocus = sequence("tt", kFocusParts);
constexpr Part kWhiteBalanceParts[] = {
    {"Mode", &kAutoManual, kOne}, {"CrGain", &kFloat, kOptional}, {"CbGain", &kFloat, kOptional}};
constexpr Shape kWhiteBalance = sequence("tt", kWhiteBalanceParts);
constexpr Part kSettingsExtensionParts[] = {{"ImageStabilization", &kModeLevel, kOptional}};
constexpr Shape kSettingsExtension = sequence("tt", kSettingsExtensionParts);
constexpr Shape kIrCutFilter = words("ON OFF AUTO");
constexpr Part kSettingsParts[] = {{"BacklightCompensation", &kModeLevel, kOptional},
                                   {"Brightness", &kFloat, kOptional},
                                   {"ColorSaturation", &kFloat, kOptional},
                                   {"Contrast", &kFloat, kOptional},
                                   {"Exposure", &kExposure, kOptional},
                                   {"Focus", &kFocus, kOptional},
                                   {"IrCutFilter", &kIrCutFilter, kOptional},
                                   {"Sharpness", &kFloat, kOptional},
                                   {"WideDynamicRange", &kModeLevel, kOptional},
                                   {"WhiteBalance", &kWhiteBalance, kOptional},
                                   {"Extension", &kSettingsExtension, kOptional}};
constexpr Shape kSettings = sequence("tt", kSettingsParts);

constexpr Part kModeLevelOptionParts[] = {{"Mode", &kOffOn, kSome}, {"Level", &kRange, kOptional}};
constexpr Shape kModeLevelOptions = sequence("tt", kModeLevelOptionParts);
constexpr Part kExposureOptionParts[] = {{"Mode", &kAutoManual, kSome},
                                         {"Priority", &kPriority, kAny},
                                         {"MinExposureTime", &kRange, kOptional},
                                         {"MaxExposureTime", &kRange, kOptional},
                                         {"MinGain", &kRange, kOptional},
                                         {"MaxGain", &kRange, kOptional},
                                         {"MinIris", &kRange, kOptional},
                                         {"MaxIris", &kRange, kOptional},
                                         {"ExposureTime", &kRange, kOptional},
                                         {"Gain", &kRange, kOptional},
                                         {"Iris", &kRange, kOptional}};
constexpr Shape kExposureOptions = sequence("tt", kExposureOptionParts);
constexpr Part kFocusOptionParts[] = {{"AutoFocusModes", &kAutoManual, kAny},
                                      {"DefaultSpeed", &kRange, kOptional},
                                      {"NearLimit", &kRange, kOptional},
                                      {"FarLimit", &kRange, kOptional}};
constexpr Shape kFocusOptions = sequence("tt", kFocusOptionParts);
constexpr Part kWhiteBalanceOptionParts[] = {
    {"Mode", &kAutoManual, kSome}, {"YrGain", &kRange, kOptional}, {"YbGain", &kRange, kOptional}};
constexpr Shape kWhiteBalanceOptions = sequence("tt", kWhiteBalanceOptionParts);
constexpr Part kOptionsExtensionParts[] = {{"ImageStabilization", &kModeLevelOptions, kOptional}};
constexpr Shape kOptionsExtension = sequence("tt", kOptionsExtensionParts);
constexpr Part kOptionsParts[] = {{"BacklightCompensation", &kModeLevelOptions, kOptional},
                                  {"Brightness", &kRange, kOptional},
                                  {"ColorSaturation", &kRange, kOptional},
                                  {"Contrast", &kRange, kOptional},
                                  {"Exposure", &kExposureOptions, kOptional},
                                  {"Focus", &kFocusOptions, kOptional},
                                  {"IrCutFilterModes", &kIrCutFilter, kAny},
                                  {"Sharpness", &kRange, kOptional},
                                  {"WideDynamicRange", &kModeLevelOptions, kOptional},
                                  {"WhiteBalance", &kWhiteBalanceOptions, kOptional},
                                  {"Extension", &kOptionsExtension, kOptional}};
constexpr Shape kOptions = sequence("tt", kOptionsParts);

constexpr Part kAbsoluteParts[] = {{"Position", &kRange, kOne}, {"Speed", &kRange, kOptional}};
constexpr Shape kAbsolute = sequence("tt", kAbsoluteParts);
constexpr Part kRelativeParts[] = {{"Distance", &kRange, kOne}, {"Speed", &kRange, kOptional}};
constexpr Shape kRelative = sequence("tt", kRelativeParts);
constexpr Part kMoveOptionsParts[] = {{"Absolute", &kAbsolute, kOptional},
                                      {"Relative", &kRelative, kOptional}};
constexpr Shape kMoveOptions = sequence("tt", kMoveOptionsParts);
constexpr Shape kMoveStatus = words("IDLE MOVING UNKNOWN");
constexpr Part kFocusStatusParts[] = {
    {"Position", &kFloat, kOne}, {"MoveStatus", &kMoveStatus, kOne}, {"Error", &kText, kOptional}};
constexpr Shape kFocusStatus = sequence("tt", kFocusStatusParts);
constexpr Part kStatusParts[] = {{"FocusStatus20", &kFocusStatus, kOptional}};
constexpr Shape kStatus = sequence("tt", kStatusParts);
constexpr Part kPresetParts[] = {{"Name", &kText, kOne}};
constexpr Attribute kPresetAttributes[] = {{"token", &kText, true}, {"type", &kText, true}};
constexpr Shape kPreset = sequence("timg", kPresetParts, kPresetAttributes);
constexpr Attribute kImagingCapabilityAttributes[] = {{"ImageStabilization", &kBool, false},
                                                      {"Presets", &kBool, false},
                                                      {"AdaptablePreset", &kBool, false}};
constexpr Shape kImagingCapabilities = attributesOnly(kImagingCapabilityAttributes);

constexpr Part kImagingCapabilitiesAnswer[] = {{"Capabilities", &kImagingCapabilities, kOne}};
constexpr Part kSettingsAnswer[] = {{"ImagingSettings", &kSettings, kOne}};
constexpr Part kOptionsAnswer[] = {{"ImagingOptions", &kOptions, kOne}};
constexpr Part kMoveOptionsAnswer[] = {{"MoveOptions", &kMoveOptions, kOne}};
constexpr Part kStatusAnswer[] = {{"Status", &kStatus, kOne}};
constexpr Part kPresetsAnswer[] = {{"Preset", &kPreset, kSome}};
constexpr Part kCurrentPresetAnswer[] = {{"Preset", &kPreset, kOptional}};

// Device
// ------------------------------------------------------------------------------------------------

constexpr Part kTimeParts[] = {
    {"Hour", &kInt, kOne}, {"Minute", &kInt, kOne}, {"Second", &kInt, kOne}};
constexpr Shape kTime = sequence("tt", kTimeParts);
constexpr Part kDateParts[] = {{"Year", &kInt, kOne}, {"Month", &kInt, kOne}, {"Day", &kInt, kOne}};
constexpr Shape kDate = sequence("tt", kDateParts);
constexpr Part kDateTimeParts[] = {{"Time", &kTime, kOne}, {"Date", &kDate, kOne}};
constexpr Shape kDateTime = sequence("tt", kDateTimeParts);
constexpr Part kZoneParts[] = {{"TZ", &kText, kOne}};
constexpr Shape kZone = sequence("tt", kZoneParts);
constexpr Shape kClockKind = words("Manual NTP");
constexpr Part kSystemTimeParts[] = {{"DateTimeType", &kClockKind, kOne},
                                     {"DaylightSavings", &kBool, kOne},
                                     {"TimeZone", &kZone, kOptional},
                                     {"UTCDateTime", &kDateTime, kOptional},
                                     {"LocalDateTime", &kDateTime, kOptional}};
constexpr Shape kSystemTime = sequence("tt", kSystemTimeParts);
constexpr Part kVersionParts[] = {{"Major", &kInt, kOne}, {"Minor", &kInt, kOne}};
constexpr Shape kVersion = sequence("tt", kVersionParts);
constexpr Attribute kSecurityAttributes[] = {
    {"TLS1.2", &kBool, false}, {"UsernameToken", &kBool, false}, {"HttpDigest", &kBool, false}};
constexpr Shape kSecurity = attributesOnly(kSecurityAttributes);
constexpr Part kDeviceCapabilityParts[] = {
    {"Network", &kNothing, kOne}, {"Security", &kSecurity, kOne}, {"System", &kNothing, kOne}};
constexpr Shape kDeviceCapabilities = sequence("tds", kDeviceCapabilityParts);
constexpr Part kStreamingParts[] = {{"RTPMulticast", &kBool, kOptional},
                                    {"RTP_TCP", &kBool, kOptional},
                                    {"RTP_RTSP_TCP", &kBool, kOptional}};
constexpr Shape kStreaming = sequence("tt", kStreamingParts);
constexpr Part kMediaAddressParts[] = {{"XAddr", &kText, kOne},
                                       {"StreamingCapabilities", &kStreaming, kOne}};
constexpr Shape kMediaAddress = sequence("tt", kMediaAddressParts);
constexpr Part kCapabilitiesParts[] = {{"Device", &kAddress, kOptional},
                                       {"Imaging", &kAddress, kOptional},
                                       {"Media", &kMediaAddress, kOptional}};
constexpr Shape kCapabilities = sequence("tt", kCapabilitiesParts);
constexpr Shape kScopeKind = words("Fixed Configurable");
constexpr Part kScopeParts[] = {{"ScopeDef", &kScopeKind, kOne}, {"ScopeItem", &kText, kOne}};
constexpr Shape kScope = sequence("tt", kScopeParts);

constexpr Part kSystemTimeAnswer[] = {{"SystemDateAndTime", &kSystemTime, kOne}};
constexpr Part kDeviceCapabilitiesAnswer[] = {{"Capabilities", &kDeviceCapabilities, kOne}};
constexpr Part kCapabilitiesAnswer[] = {{"Capabilities", &kCapabilities, kOne}};
constexpr Part kInformationAnswer[] = {{"Manufacturer", &kText, kOne},
                                       {"Model", &kText, kOne},
                                       {"FirmwareVersion", &kText, kOne},
                                       {"SerialNumber", &kText, kOne},
                                       {"HardwareId", &kText, kOne}};
constexpr Part kScopesAnswer[] = {{"Scopes", &kScope, kSome}};

// Media
// ------------------------------------------------------------------------------------------------

constexpr Attribute kBoundsAttributes[] = {
    {"x", &kInt, true}, {"y", &kInt, true}, {"width", &kInt, true}, {"height", &kInt, true}};
constexpr Shape kBounds = attributesOnly(kBoundsAttributes);
constexpr Attribute kTokenAttributes[] = {{"token", &kText, true}};
constexpr Part kSourceConfigurationParts[] = {{"Name", &kText, kOne},
                                              {"UseCount", &kInt, kOne},
                                              {"SourceToken", &kText, kOne},
                                              {"Bounds", &kBounds, kOne}};
constexpr Shape kSourceConfiguration = sequence("tt", kSourceConfigurationParts, kTokenAttributes);
constexpr Shape kEncoding = words("JPEG MPEG4 H264");
constexpr Shape kAddressKind = words("IPv4 IPv6");
constexpr Part kIpParts[] = {{"Type", &kAddressKind, kOne}, {"IPv4Address", &kText, kOptional}};
constexpr Shape kIp = sequence("tt", kIpParts);
constexpr Part kMulticastParts[] = {{"Address", &kIp, kOne},
                                    {"Port", &kInt, kOne},
                                    {"TTL", &kInt, kOne},
                                    {"AutoStart", &kBool, kOne}};
constexpr Shape kMulticast = sequence("tt", kMulticastParts);
constexpr Part kEncoderParts[] = {{"Name", &kText, kOne},
                                  {"UseCount", &kInt, kOne},
                                  {"Encoding", &kEncoding, kOne},
                                  {"Resolution", &kResolution, kOne},
                                  {"Quality", &kFloat, kOne},
                                  {"Multicast", &kMulticast, kOne},
                                  {"SessionTimeout", &kDuration, kOne}};
constexpr Shape kEncoder = sequence("tt", kEncoderParts, kTokenAttributes);
constexpr Part kProfileParts[] = {{"Name", &kText, kOne},
                                  {"VideoSourceConfiguration", &kSourceConfiguration, kOptional},
                                  {"VideoEncoderConfiguration", &kEncoder, kOptional}};
constexpr Attribute kProfileAttributes[] = {{"token", &kText, true}, {"fixed", &kBool, false}};
constexpr Shape kProfile = sequence("tt", kProfileParts, kProfileAttributes);
constexpr Part kSourceParts[] = {{"Framerate", &kFloat, kOne}, {"Resolution", &kResolution, kOne}};
constexpr Shape kSource = sequence("tt", kSourceParts, kTokenAttributes);
constexpr Part kUriParts[] = {{"Uri", &kText, kOne},
                              {"InvalidAfterConnect", &kBool, kOne},
                              {"InvalidAfterReboot", &kBool, kOne},
                              {"Timeout", &kDuration, kOne}};
constexpr Shape kUri = sequence("tt", kUriParts);
constexpr Attribute kProfileCapabilityAttributes[] = {{"MaximumNumberOfProfiles", &kInt, false}};
constexpr Shape kProfileCapabilities = attributesOnly(kProfileCapabilityAttributes);
constexpr Attribute kStreamingAttributes[] = {{"RTPMulticast", &kBool, false},
                                              {"RTP_TCP", &kBool, false},
                                              {"RTP_RTSP_TCP", &kBool, false},
                                              {"NoRTSPStreaming", &kBool, false}};
constexpr Shape kStreamingCapabilities = attributesOnly(kStreamingAttributes);
constexpr Part kMediaCapabilityParts[] = {{"ProfileCapabilities", &kProfileCapabilities, kOne},
                                          {"StreamingCapabilities", &kStreamingCapabilities, kOne}};
constexpr Attribute kMediaCapabilityAttributes[] = {{"SnapshotUri", &kBool, false}};
constexpr Shape kMediaCapabilities =
    sequence("trt", kMediaCapabilityParts, kMediaCapabilityAttributes);

constexpr Part kMediaCapabilitiesAnswer[] = {{"Capabilities", &kMediaCapabilities, kOne}};
constexpr Part kProfilesAnswer[] = {{"Profiles", &kProfile, kAny}};
constexpr Part kSourcesAnswer[] = {{"VideoSources", &kSource, kAny}};
constexpr Part kUriAnswer[] = {{"MediaUri", &kUri, kOne}};

// What a service can, in its own namespace wherever it stands.
constexpr Part kAnyCapabilitiesParts[] = {{"tds:Capabilities", &kDeviceCapabilities, kOptional},
                                          {"trt:Capabilities", &kMediaCapabilities, kOptional},
                                          {"timg:Capabilities", &kImagingCapabilities, kOptional}};
constexpr Shape kAnyCapabilities = sequence("", kAnyCapabilitiesParts);
constexpr Part kServiceParts[] = {{"Namespace", &kText, kOne},
                                  {"XAddr", &kText, kOne},
                                  {"Capabilities", &kAnyCapabilities, kOptional},
                                  {"Version", &kVersion, kOne}};
constexpr Shape kService = sequence("tds", kServiceParts);
constexpr Part kServicesAnswer[] = {{"Service", &kService, kSome}};

// Answers
// ------------------------------------------------------------------------------------------------

struct Answer {
    Service service;
    const char* operation;
    Shape shape;
};
constexpr Service kDevice = Service::Device;
constexpr Service kMedia = Service::Media;
constexpr Service kImaging = Service::Imaging;
constexpr Answer kAnswers[] = {
    {kDevice, "GetSystemDateAndTime", sequence("tds", kSystemTimeAnswer)},
    {kDevice, "GetServices", sequence("tds", kServicesAnswer)},
    {kDevice, "GetServiceCapabilities", sequence("tds", kDeviceCapabilitiesAnswer)},
    {kDevice, "GetCapabilities", sequence("tds", kCapabilitiesAnswer)},
    {kDevice, "GetDeviceInformation", sequence("tds", kInformationAnswer)},
    {kDevice, "GetScopes", sequence("tds", kScopesAnswer)},
    {kMedia, "GetServiceCapabilities", sequence("trt", kMediaCapabilitiesAnswer)},
    {kMedia, "GetProfiles", sequence("trt", kProfilesAnswer)},
    {kMedia, "GetVideoSources", sequence("trt", kSourcesAnswer)},
    {kMedia, "GetStreamUri", sequence("trt", kUriAnswer)},
    {kMedia, "GetSnapshotUri", sequence("trt", kUriAnswer)},
    {kImaging, "GetServiceCapabilities", sequence("timg", kImagingCapabilitiesAnswer)},
    {kImaging, "GetImagingSettings", sequence("timg", kSettingsAnswer)},
    {kImaging, "SetImagingSettings", kNothing},
    {kImaging, "GetOptions", sequence("timg", kOptionsAnswer)},
    {kImaging, "GetMoveOptions", sequence("timg", kMoveOptionsAnswer)},
    {kImaging, "Move", kNothing},
    {kImaging, "Stop", kNothing},
    {kImaging, "GetStatus", sequence("timg", kStatusAnswer)},
    {kImaging, "GetPresets", sequence("timg", kPresetsAnswer)},
    {kImaging, "GetCurrentPreset", sequence("timg", kCurrentPresetAnswer)},
    {kImaging, "SetCurrentPreset", kNothing},
};

} // namespace

const Shape* answerShape(Service service, const std::string& operation) {
    for (const Answer& answer : kAnswers) {
        if (answer.service == service && operation == answer.operation) {
            return &answer.shape;
        }
    }
    return nullptr;
}

} // namespace onvif
