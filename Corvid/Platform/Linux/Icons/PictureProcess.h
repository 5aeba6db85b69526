#pragma once

#include "Base/FileDescriptor.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <sys/types.h>

namespace corvid {

/** What came of a picture. */
struct DrawnPicture {
    enum class Outcome {
        Drawn,
        Unsound,     ///< no picture, or one that takes more time or memory than it may
        Unavailable, ///< nobody could look at it; says nothing of the picture
    };
    Outcome outcome = Outcome::Unavailable;
    QImage image{}; ///< null unless drawn
};

/**
 * The process that draws foreign pictures, seen from ours: started when it is needed, anew after a
 * picture has ended it. It gets no descriptor of ours but the conversation, and of the environment
 * only what tells where libraries and fonts lie. One thread, which must outlive the process.
 */
class PictureProcess {
public:
    /** `program`: an executable that runs runPictureHelper(); empty for none. When something can be
        read from `interruption`, every wait ends. */
    PictureProcess(QString program, int interruption);
    ~PictureProcess() { end(); }
    PictureProcess(const PictureProcess &) = delete;
    PictureProcess &operator=(const PictureProcess &) = delete;

    /** Blocks until there is an answer: for as long as the process works, which is limited, and
        for seconds when it does not. */
    DrawnPicture draw(const QByteArray &bytes, bool isDrawing, int edge);

    /** Ends the process, if there is one. */
    void end();

private:
    /** How a conversation went. Silent: nothing moves any more, or we were interrupted. */
    enum class Talk { Done, Broken, Silent };

    bool start(bool withFonts);
    bool spawn(bool withFonts, int streams);
    DrawnPicture ask(const QByteArray &bytes, bool isDrawing, int edge);
    Talk sendAll(const void *data, std::size_t size);
    Talk receiveAll(void *data, std::size_t size);
    Talk await(short event) const;
    bool endedFromOutside();

    const QString program_;
    const int interruption_;
    FileDescriptor channel_;
    pid_t process_ = 0; ///< 0 for none
    bool hasFonts_ = false;
    bool wasEndedFromOutside_ = false;
};

} // namespace corvid
