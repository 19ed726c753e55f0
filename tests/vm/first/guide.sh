# The commands of the guide's chapter, as they stand there, for both cameras.
export XDG_STATE_HOME=/tmp/guide
cd /tmp
emulated_camera >/dev/null 2>&1 &
camera=$!
trap 'kill $camera' EXIT
sleep 2
usb=$(imgctl cameras | grep EMU0001 -B2 | sed -n 's/^\(.dev.video[0-9]*\) .*/\1/p')
for node in /dev/video0 $usb; do
    sed -n '/^## .*Your webcam/,/^## [0-9]*[.] [^Y]/s/^    //p' /guide.md | grep -v '^imgctld' |
        sed "s|/dev/video0|$node|" >commands
    sh -e commands >log 2>&1 || { cat log; exit 1; }
    # The evening has come, in words and in the camera.
    grep -q '^get (34,20)' log && grep -q '^status scheme=1 ' log && grep -q '^brightness: 45' log || { cat log; exit 1; }
    echo "vm: the guide's commands hold on $node"
done
[ "$node" != /dev/video0 ]
