#!/usr/bin/env bash
# Installs every Debian 12 package that building, running and testing Orvel needs.
# Idempotent: when everything is present it only checks and returns; the package lists are
# refreshed only when something is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  qt6-base-dev qt6-base-dev-tools qt6-declarative-dev qt6-declarative-dev-tools qt6-multimedia-dev
  qt6-shadertools-dev qt6-tools-dev-tools qt6-l10n-tools qt6-qpa-plugins libqt6opengl6-dev
  qt6-base-private-dev qt6-declarative-private-dev
  qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript qml6-module-qtquick
  qml6-module-qtquick-window qml6-module-qtquick-controls qml6-module-qtquick-templates
  qml6-module-qtquick-layouts qml6-module-qtquick-dialogs qml6-module-qtquick-shapes
  qml6-module-qtmultimedia qml6-module-qttest qml6-module-qt-labs-folderlistmodel
  qml6-module-qtcore qml6-module-qt-labs-settings qml6-module-qt-labs-platform
  libavcodec-dev libavformat-dev libavutil-dev libavfilter-dev libswscale-dev libswresample-dev ffmpeg
  juce-modules-source libsoundtouch-dev libzstd-dev libssl-dev zlib1g-dev
  xvfb xauth x11-utils x11-apps libgl1-mesa-dri libegl1 libegl-mesa0 libgl-dev libegl-dev mesa-utils
  googletest libgtest-dev libgmock-dev libbenchmark-dev fonts-dejavu-core
  fonts-droid-fallback fonts-noto-color-emoji
  pulseaudio pulseaudio-utils
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q '^install ok installed$'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${#missing[@]} missing packages: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
