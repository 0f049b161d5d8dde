import QtQuick
import TLX.MediaPicker

ImageViewBase {}
