# What was saved before the plug was pulled is in force, and nothing else.
export XDG_STATE_HOME=/disk
imgctl --layer v4l2:/dev/video0 -c 'mode 0' -c 'scheme 0' >/tmp/log 2>&1 || { cat /tmp/log; exit 1; }
! grep 'made a device tree' /tmp/log || exit 1
now=$(v4l2-ctl -d /dev/video0 --get-ctrl=brightness,saturation,contrast,horizontal_flip)
[ "$(echo $now)" = "brightness: 77 saturation: 99 contrast: 128 horizontal_flip: 1" ] || { echo "$now"; exit 1; }
