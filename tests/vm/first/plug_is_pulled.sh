# The last before the plug is pulled: a newcomer's first commands, and a value that is never saved.
export XDG_STATE_HOME=/disk
layer=v4l2:/dev/video0
imgctl cameras | grep -q '^/dev/video0  vivid' || exit 1
imgctl --layer $layer -c 'mode 0' -c 'scheme 0' -c 'set brightness=77 saturation=99 mirror=1' -c flush \
    >/tmp/saved 2>&1 && grep -q 'made a device tree for vivid' /tmp/saved || { cat /tmp/saved; exit 1; }
imgctl --layer $layer -c 'mode 0' -c 'scheme 0' -c 'set contrast=11' >/tmp/unsaved || exit 1
imgctl --layer $layer snapshot /tmp/picture.jpg || exit 1
