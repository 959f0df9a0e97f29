#pragma once

#include <sys/stat.h>

#include "support/TempDir.h"
#include "transport/SerialPortList.h"

// Folders that stand for /dev, /sys and /proc of a machine with two USB ports and a simulated chip.
// "mini com" holds ttyUSB9, which its group may open; the chip holds both ends of its port.
// Besides, there are a console, a port without hardware, and a link that leads nowhere. Files stand
// for device nodes, which only root could make.
class CFakeSystem : public CTempDir {
public:
    CFakeSystem() {
        namespace fs = std::filesystem;
        for (const char* folder :
             {"dev/serial/by-id", "dev/pts", "sys/port:0.0", "sys/class/tty/tty1",
              "sys/class/tty/ttyS0", "sys/class/tty/ttyUSB9", "sys/class/tty/ttyUSB10",
              "proc/4711/fd", "proc/42/fd", "proc/self/fd"}) {
            fs::create_directories(PathOf(folder));
        }
        for (const char* file :
             {"dev/tty1", "dev/ttyS0", "dev/ttyUSB9", "dev/ttyUSB10", "dev/pts/7"}) {
            chmod(Write(file, "").c_str(), 0640);
        }
        chmod(PathOf("dev/ttyUSB9").c_str(), 0660);
        Write("sys/class/tty/ttyS0/type", "0\n");
        Write("sys/class/tty/ttyUSB9/type", "4\n");
        Write("proc/4711/comm", "mini com\n");
        for (const auto& [link, target] :
             std::initializer_list<std::pair<const char*, std::string>>{
                 {"dev/serial/by-id/usb-A1", "../../ttyUSB9"},
                 {"dev/ttyBOARD1", "ttyUSB9"},
                 {"dev/ttySIM", "pts/7"},
                 {"dev/ttyGONE", "gone"},
                 {"dev/by-id", "/dev/tty"},
                 {"sys/class/tty/ttyS0/device", PathOf("sys/port:0.0")},
                 {"sys/class/tty/ttyUSB9/device", PathOf("sys/port:0.0")},
                 {"sys/class/tty/ttyUSB10/device", PathOf("sys/port:0.0")},
                 {"sys/port:0.0/subsystem", "/bus/serial-base"},
                 {"sys/port:0.0/driver", "/drivers/port"},
                 {"sys/driver", "/drivers/cdc_acm"},
                 {"proc/4711/fd/9", PathOf("dev/ttyUSB9")},
                 {"proc/self/fd/9", PathOf("dev/ttyUSB9")},
                 {"proc/42/fd/3", PathOf("dev/pts/7")},
                 {"proc/42/fd/4", PathOf("dev/ptmx")}}) {
            fs::create_symlink(target, PathOf(link));
        }
    }

    CSystemFolders Folders() const { return {PathOf("dev"), PathOf("sys"), PathOf("proc")}; }
};
