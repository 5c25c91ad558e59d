// plat_msg: message queues between the application and its host platform (see plat_msg.h).
#include "plat_msg.h"

#include <cstring>

#include "log.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static PLAT_MSG_LIST list_poster;   // the application's messages
static PLAT_MSG_LIST list_replier;  // the platform's messages
static int _init = 0;               // the pools were cleared
static PLAT_MSG_HANDLER _poster = nullptr;   // the application's handler
static PLAT_MSG_HANDLER _replier = nullptr;  // the platform's handler
static uint32_t _refid = 0;         // the last reference number given out; they only grow

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Empty a pool: every slot free and zero, the search back at slot 0
static void plat_msg_clear_list(PLAT_MSG_LIST &list)
{
    std::memset(&list, 0, sizeof list);
}

// Take a free slot of a pool, searching from the slot taken last, so that a message freed at
// once is the next one handed out again; null (and a log line naming `caller`) when all are in use
static PLAT_MSG *plat_msg_alloc(PLAT_MSG_LIST &list, const char *caller)
{
    if (!_init)
        plat_msg_init();
    for (int k = 0; k < PLAT_MSG_LIST_SIZE; k++) {
        int index = (list.i + k) % PLAT_MSG_LIST_SIZE;
        PLAT_MSG &msg = list.msg[index];
        if (msg.active)
            continue;
        // Every byte, the whole payload included, so nothing of the slot's last use is left
        std::memset(&msg, 0, sizeof msg);
        msg.active = 1;
        msg.refid = ++_refid;
        list.i = index;
        return &msg;
    }
    lum_logf("%s NULL\n", caller);
    return nullptr;
}

// Call a side's handler with a message: its result, with a log line when it is an abort
static int plat_msg_deliver(PLAT_MSG_HANDLER handler, PLAT_MSG *msg)
{
    msg->timestamp = lum_ticks;
    int result = handler(msg);
    if (result < 0)
        lum_logf("ABORT CODE %d\n", result);
    return result;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Clear both pools
void plat_msg_init()
{
    LUM_TRACE();
    plat_msg_clear_list(list_poster);
    plat_msg_clear_list(list_replier);
    _init = 1;
}

// Nothing to release: the pools are fixed tables
void plat_msg_exit()
{
    LUM_TRACE();
}

// Install the application's handler, to which answers go
void plat_msg_set_poster(PLAT_MSG_HANDLER handler)
{
    LUM_TRACE();
    _poster = handler;
}

// Install the platform's handler, which answers requests
void plat_msg_set_replier(PLAT_MSG_HANDLER handler)
{
    LUM_TRACE();
    _replier = handler;
}

// A cleared message of the poster's pool
PLAT_MSG *plat_msg_alloc_poster()
{
    return plat_msg_alloc(list_poster, __func__);
}

// A cleared message of the replier's pool
PLAT_MSG *plat_msg_alloc_replier()
{
    return plat_msg_alloc(list_replier, __func__);
}

// Give a message's slot back to its pool
void plat_msg_free(PLAT_MSG *msg)
{
    lum_logf("%s (refid %u timestamp %u)\n", __func__, msg->refid, msg->timestamp);
    msg->active = 0;
}

// Poster to replier. The answer goes to the installed poster's handler, recorded in the message.
// NOTE: the message is freed before this returns, whatever the outcome; a handler that answers
// later allocates its own message and copies what it needs (user and poster included).
int plat_msg_poster_send(PLAT_MSG *msg)
{
    LUM_TRACE();
    if (!_poster) {
        lum_logf("%s no poster\n", __func__);
        plat_msg_free(msg);
        return 0;
    }
    if (!_replier) {
        lum_logf("%s no replier\n", __func__);
        plat_msg_free(msg);
        return 0;
    }
    msg->poster = _poster;
    int result = plat_msg_deliver(_replier, msg);
    plat_msg_free(msg);
    return result;
}

// Replier to poster: to the handler the request named, else the installed poster's.
// NOTE: an installed replier is required here too, although the answer does not go to it; and
// unlike the poster's send, a missing handler is logged after the message is freed.
int plat_msg_replier_send(PLAT_MSG *msg)
{
    LUM_TRACE();
    PLAT_MSG_HANDLER target = msg->poster ? msg->poster : _poster;
    if (!target) {
        plat_msg_free(msg);
        lum_logf("%s no poster\n", __func__);
        return 0;
    }
    if (!_replier) {
        plat_msg_free(msg);
        lum_logf("%s no replier\n", __func__);
        return 0;
    }
    int result = plat_msg_deliver(target, msg);
    plat_msg_free(msg);
    return result;
}
