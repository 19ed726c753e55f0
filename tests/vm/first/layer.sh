# The layer's tests, on the drivers' own virtual camera and on a USB camera that is emulated.
imgctl_vm_tests --gtest_brief=1 --gtest_filter="$(cat /filter)"
