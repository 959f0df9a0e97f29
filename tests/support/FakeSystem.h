#pragma once

#include "support/TempDir.h"
#include "transport/SerialPortList.h"

// Folders that stand for /dev, /sys and /proc.
class CFakeSystem : public CTempDir {
public:
    CSystemFolders Folders() const { return {PathOf("dev"), PathOf("sys"), PathOf("proc")}; }

    // A file stands for the device node, which only root could make. type may be null.
    void MakePort(const std::string& name, const char* type) const {
        namespace fs = std::filesystem;
        const std::string entry = PathOf("sys/class/tty/" + name);
        fs::create_directories(entry);
        fs::create_directories(PathOf("dev"));
        fs::create_directory_symlink(PathOf("sys/devices/port:0.0"), entry + "/device");
        fs::create_directories(PathOf("sys/devices/port:0.0"));
        Write("dev/" + name, "");
        fs::permissions(PathOf("dev/" + name), fs::perms(0640));
        if (type != nullptr) {
            Write("sys/class/tty/" + name + "/type", std::string(type) + "\n");
        }
    }

    void Hold(const std::string& process, const std::string& device) const {
        std::filesystem::create_directories(PathOf("proc/" + process + "/fd"));
        Write("proc/" + process + "/comm", "mini com\n");
        std::filesystem::create_symlink(
            PathOf("dev/" + device),
            PathOf("proc/" + process + "/fd/" + std::to_string(device.size())));
    }
};
