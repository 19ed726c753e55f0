#include <algorithm>

#include "Services.h"
#include "host/Camera.h"
#include "host/PictureHub.h"

// The media service: one profile, whose pictures are JPEG, one by one or as a stream.
namespace onvif {
namespace {

void addResolution(Element& to, const image_adjust::PictureFormat& format) {
    to.at("Resolution/Width").text = std::to_string(format.width);
    to.at("Resolution/Height").text = std::to_string(format.height);
}

} // namespace

void Services::profiles(const Call& /*call*/, const Done& done) {
    const image_adjust::PictureFormat format = m_camera.pictures().format();
    Element answer;
    Element& profile = answer.add("Profiles").with("token", kProfileToken).with("fixed", "true");
    profile.add("Name", "JPEG");
    Element& source = profile.at("VideoSourceConfiguration").with("token", "SourceConfiguration0");
    source.add("Name", "camera");
    source.add("UseCount", "1");
    source.add("SourceToken", kSourceToken);
    source.add("Bounds")
        .with("x", "0")
        .with("y", "0")
        .with("width", std::to_string(format.width))
        .with("height", std::to_string(format.height));
    Element& encoder =
        profile.at("VideoEncoderConfiguration").with("token", "EncoderConfiguration0");
    encoder.add("Name", "JPEG");
    encoder.add("UseCount", "1");
    encoder.add("Encoding", "JPEG");
    addResolution(encoder, format);
    encoder.add("Quality", std::to_string(format.quality));
    // Nothing is sent to groups; the schema wants it said.
    Element& multicast = encoder.add("Multicast");
    multicast.at("Address/Type").text = "IPv4";
    multicast.at("Address/IPv4Address").text = "0.0.0.0";
    multicast.add("Port", "0");
    multicast.add("TTL", "0");
    multicast.add("AutoStart", "false");
    encoder.add("SessionTimeout", "PT30S");
    done(answer);
}

void Services::videoSources(const Call& call, const Done& done) {
    Element answer;
    Element& source = answer.add("VideoSources").with("token", kSourceToken);
    source.add("Framerate", std::to_string(call.snapshot.framesPerSecond));
    addResolution(source, m_camera.pictures().format());
    done(answer);
}

/// GetSnapshotUri and GetStreamUri. The stream is MJPEG over HTTP whatever transport is asked for:
/// there is no other.
void Services::address(const Call& call, const Done& done) {
    const bool stream = call.message.operation() == "GetStreamUri";
    std::optional<Fault> fault = checkToken(call, "ProfileToken", kProfileToken, "NoProfile");
    if (!fault && stream) {
        const TiXmlElement* const setup = childOf(call.message.request(), "StreamSetup");
        if (setup != nullptr && childText(*setup, "Stream") == "RTP-Multicast") {
            fault = invalid("InvalidStreamSetup", "There is no multicast.");
        }
    }
    if (fault) {
        return done(fault);
    }
    Element answer;
    Element& address = answer.add("MediaUri");
    address.add("Uri", call.asked.base + (stream ? "/onvif/video.mjpg" : "/onvif/snapshot.jpg") +
                           "?ticket=" + ticketOf(call.user));
    address.add("InvalidAfterConnect", "false");
    address.add("InvalidAfterReboot", "false");
    address.add("Timeout", "PT0S");
    done(answer);
}

} // namespace onvif
