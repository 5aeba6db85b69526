#pragma once

namespace corvid {

/** The desktops and compositors of which we can say how a command is given a key. */
enum class Desktop { Unknown, Sway, Hyprland, Niri, River, Labwc, Openbox, Kde, Gnome, Xfce };

} // namespace corvid
