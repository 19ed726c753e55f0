// Holds answers against ONVIF's schema, as clients that are generated from it do: every element in its
// place, of its type and in its namespace.

import assert from 'node:assert/strict';
import xmldom from 'xmldom';

const namespaces = {
  s: 'http://www.w3.org/2003/05/soap-envelope', tt: 'http://www.onvif.org/ver10/schema',
  tds: 'http://www.onvif.org/ver10/device/wsdl', trt: 'http://www.onvif.org/ver10/media/wsdl',
  timg: 'http://www.onvif.org/ver20/imaging/wsdl',
};

// [PREFIX.]NAME:TYPE in the order in which they stand; without a prefix tt. ? may lack, * any number,
// + at least one. @NAME:TYPE an attribute. A type that is not in this table is one of values, or words.
const range = 'Min:float Max:float';
const types = {
  'timg.GetServiceCapabilities': 'timg.Capabilities:ImagingCan',
  'timg.GetImagingSettings': 'timg.ImagingSettings:Settings',
  'timg.SetImagingSettings': '', 'timg.Move': '', 'timg.Stop': '', 'timg.SetCurrentPreset': '',
  'timg.GetOptions': 'timg.ImagingOptions:Options',
  'timg.GetMoveOptions': 'timg.MoveOptions:MoveOptions',
  'timg.GetStatus': 'timg.Status:Status',
  'timg.GetPresets': 'timg.Preset:Preset+',
  'timg.GetCurrentPreset': 'timg.Preset:Preset?',
  ImagingCan: '@ImageStabilization:bool? @Presets:bool? @AdaptablePreset:bool?',
  Preset: 'timg.Name:text @token:text @type:text',
  Settings: 'BacklightCompensation:ModeLevel? Brightness:float? ColorSaturation:float? Contrast:float? Exposure:Exposure? Focus:Focus? IrCutFilter:ON|OFF|AUTO? Sharpness:float? WideDynamicRange:ModeLevel? WhiteBalance:White? Extension:More?',
  ModeLevel: 'Mode:OFF|ON Level:float?',
  Exposure: 'Mode:AUTO|MANUAL Priority:LowNoise|FrameRate? MinExposureTime:float? MaxExposureTime:float? MinGain:float? MaxGain:float? MinIris:float? MaxIris:float? ExposureTime:float? Gain:float? Iris:float?',
  Focus: 'AutoFocusMode:AUTO|MANUAL DefaultSpeed:float? NearLimit:float? FarLimit:float?',
  White: 'Mode:AUTO|MANUAL CrGain:float? CbGain:float?',
  More: 'ImageStabilization:ModeLevel?',
  Options: 'BacklightCompensation:ModeLevelOptions? Brightness:Range? ColorSaturation:Range? Contrast:Range? Exposure:ExposureOptions? Focus:FocusOptions? IrCutFilterModes:ON|OFF|AUTO* Sharpness:Range? WideDynamicRange:ModeLevelOptions? WhiteBalance:WhiteOptions? Extension:MoreOptions?',
  Range: range,
  ModeLevelOptions: 'Mode:OFF|ON+ Level:Range?',
  ExposureOptions: 'Mode:AUTO|MANUAL+ Priority:LowNoise|FrameRate* MinExposureTime:Range? MaxExposureTime:Range? MinGain:Range? MaxGain:Range? MinIris:Range? MaxIris:Range? ExposureTime:Range? Gain:Range? Iris:Range?',
  FocusOptions: 'AutoFocusModes:AUTO|MANUAL* DefaultSpeed:Range? NearLimit:Range? FarLimit:Range?',
  WhiteOptions: 'Mode:AUTO|MANUAL+ YrGain:Range? YbGain:Range?',
  MoreOptions: 'ImageStabilization:ModeLevelOptions?',
  MoveOptions: 'Absolute:Absolute? Relative:Relative? Continuous:Continuous?',
  Absolute: 'Position:Range Speed:Range?', Relative: 'Distance:Range Speed:Range?', Continuous: 'Speed:Range',
  Status: 'FocusStatus20:FocusStatus?',
  FocusStatus: 'Position:float MoveStatus:IDLE|MOVING|UNKNOWN Error:text?',

  'tds.GetSystemDateAndTime': 'tds.SystemDateAndTime:SystemTime',
  'tds.GetServices': 'tds.Service:Service+',
  'tds.GetServiceCapabilities': 'tds.Capabilities:DeviceCan',
  'tds.GetCapabilities': 'tds.Capabilities:Capabilities',
  'tds.GetDeviceInformation': 'tds.Manufacturer:text tds.Model:text tds.FirmwareVersion:text tds.SerialNumber:text tds.HardwareId:text',
  'tds.GetScopes': 'tds.Scopes:Scope+',
  SystemTime: 'DateTimeType:Manual|NTP DaylightSavings:bool TimeZone:Zone? UTCDateTime:DateTime? LocalDateTime:DateTime?',
  Zone: 'TZ:text', DateTime: 'Time:Time Date:Date', Time: 'Hour:int Minute:int Second:int', Date: 'Year:int Month:int Day:int',
  Service: 'tds.Namespace:text tds.XAddr:text tds.Capabilities:Can? tds.Version:Version',
  Can: 'tds.Capabilities:DeviceCan? trt.Capabilities:MediaCan? timg.Capabilities:ImagingCan?',
  Version: 'Major:int Minor:int',
  DeviceCan: 'tds.Network:nothing tds.Security:Security tds.System:nothing',
  Security: '@UsernameToken:bool? @HttpDigest:bool?', nothing: '',
  Capabilities: 'Analytics:Address? Device:Address? Events:Address? Imaging:Address? Media:Media? PTZ:Address?',
  Address: 'XAddr:text', Media: 'XAddr:text StreamingCapabilities:Streaming',
  Streaming: 'RTPMulticast:bool? RTP_TCP:bool? RTP_RTSP_TCP:bool?',
  Scope: 'ScopeDef:Fixed|Configurable ScopeItem:text',

  'trt.GetServiceCapabilities': 'trt.Capabilities:MediaCan',
  'trt.GetProfiles': 'trt.Profiles:Profile*',
  'trt.GetVideoSources': 'trt.VideoSources:VideoSource*',
  'trt.GetStreamUri': 'trt.MediaUri:MediaUri', 'trt.GetSnapshotUri': 'trt.MediaUri:MediaUri',
  MediaCan: 'trt.ProfileCapabilities:ProfileCan trt.StreamingCapabilities:StreamingCan @SnapshotUri:bool?',
  ProfileCan: '@MaximumNumberOfProfiles:int?',
  StreamingCan: '@RTPMulticast:bool? @RTP_TCP:bool? @RTP_RTSP_TCP:bool? @NoRTSPStreaming:bool?',
  Profile: 'Name:text VideoSourceConfiguration:SourceConfiguration? AudioSourceConfiguration:nothing? VideoEncoderConfiguration:Encoder? @token:text @fixed:bool?',
  SourceConfiguration: 'Name:text UseCount:int SourceToken:text Bounds:Bounds @token:text',
  Bounds: '@x:int @y:int @width:int @height:int',
  Encoder: 'Name:text UseCount:int Encoding:JPEG|MPEG4|H264 Resolution:Resolution Quality:float RateControl:nothing? Multicast:Multicast SessionTimeout:duration @token:text',
  Resolution: 'Width:int Height:int',
  Multicast: 'Address:Ip Port:int TTL:int AutoStart:bool', Ip: 'Type:IPv4|IPv6 IPv4Address:text?',
  VideoSource: 'Framerate:float Resolution:Resolution @token:text',
  MediaUri: 'Uri:text InvalidAfterConnect:bool InvalidAfterReboot:bool Timeout:duration',
};

const values = {
  float: /^-?\d+(\.\d+)?([eE][+-]?\d+)?$/, int: /^-?\d+$/, bool: /^(true|false)$/, text: /^[^]*$/, duration: /^PT?\d+S$/,
};

const elements = node => Array.from(node.childNodes).filter(one => one.nodeType === 1);

function hold(element, type, where) {
  if (!(type in types)) {
    assert.equal(elements(element).length, 0, where);
    assert.match(element.textContent, values[type] ?? new RegExp(`^(${type})$`), where);
    return;
  }
  const children = elements(element);
  const attributes = Array.from(element.attributes).map(one => one.name).filter(name => !name.startsWith('xmlns'));
  for (const part of types[type].split(' ').filter(Boolean)) {
    const [, at, prefix = 'tt', name, inner, count] = /^(@?)(?:(\w+)\.)?(\w+):([\w|]+)([?*+]?)$/.exec(part);
    if (at) {
      const index = attributes.indexOf(name);
      if (index >= 0) assert.match(element.getAttribute(attributes.splice(index, 1)[0]), values[inner], `${where} @${name}`);
      else assert.equal(count, '?', `${where} lacks @${name}`);
      continue;
    }
    let found = 0;
    while (children[0]?.localName === name && children[0].namespaceURI === namespaces[prefix]) {
      hold(children.shift(), inner, `${where}/${name}${found++ || ''}`);
    }
    const most = count === '*' || count === '+' ? Infinity : 1;
    assert.ok(found >= (count === '?' || count === '*' ? 0 : 1) && found <= most, `${where} has ${found} of ${name}`);
  }
  assert.deepEqual([children.map(one => one.nodeName), attributes], [[], []], `${where}: strange or out of place`);
}

/** What stands in the body of an answer or a fault, held against the schema. */
export function body(xml) {
  const envelope = new xmldom.DOMParser({ errorHandler: text => assert.fail(text) }).parseFromString(xml).documentElement;
  assert.deepEqual([envelope.localName, envelope.namespaceURI], ['Envelope', namespaces.s]);
  const answer = elements(elements(envelope).find(one => one.localName === 'Body'))[0];
  const prefix = Object.keys(namespaces).find(one => namespaces[one] === answer.namespaceURI);
  if (answer.nodeName !== 's:Fault') hold(answer, `${prefix}.${answer.localName.replace(/Response$/, '')}`, answer.localName);
  return answer;
}

/** The codes of a fault, outermost first: ["s:Sender", "ter:InvalidArgVal", "ter:NoSource"]. */
export const codes = fault => Array.from(fault.getElementsByTagName('s:Value')).map(one => one.textContent);
