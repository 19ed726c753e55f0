#pragma once

/// The settings of one video stream.
class AVStreamParam {
public:
    /// @param frameRate  frames per second
    explicit AVStreamParam(int frameRate = 25) : m_nFrameRate(frameRate) {}

    /// @return frames per second
    int getFrameRate() const { return m_nFrameRate; }

private:
    int m_nFrameRate;
};
