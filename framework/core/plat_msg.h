// plat_msg: message queues between the application and the services of its host platform.
// Store purchases, score boards, error reports and status notices travel as one uniform record
// between two parties: the poster (the application side, which asks and later receives answers)
// and the replier (the platform side, which answers). Each side takes its messages from a fixed
// pool of its own; a message is filled, sent to the other side's handler and freed as soon as the
// handler returns, whatever it answered. Everything runs synchronously on the main thread: a
// platform whose services answer from another thread brings the answer to the main thread first.
// Depends on: log (log lines, the logic tick number that stamps a sent message).
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int PLAT_MSG_LIST_SIZE = 16;  // messages each side may have in flight

// Message types (typeid_)
constexpr uint32_t PLAT_MSG_TYPE_FREE = 0;
constexpr uint32_t PLAT_MSG_TYPE_STATUS = 1;
constexpr uint32_t PLAT_MSG_TYPE_ERROR = 2;
constexpr uint32_t PLAT_MSG_TYPE_SCORE = 3;
constexpr uint32_t PLAT_MSG_TYPE_IAP = 4;

// Result and status codes; any negative handler result counts as an abort
constexpr int PLAT_MSG_CODE_ABORT = -1000;
constexpr int PLAT_MSG_CODE_OK = 0;
constexpr int PLAT_MSG_CODE_CANCEL = 1;
constexpr int PLAT_MSG_CODE_HOLD_ON = 2;
constexpr int PLAT_MSG_CODE_STATUS = 3;

// Store request kinds, in user.arg of a PLAT_MSG_TYPE_IAP message
constexpr int PLAT_MSG_ARG_IAP_BUY = 1;
constexpr int PLAT_MSG_ARG_IAP_TRANSACTION = 2;
constexpr int PLAT_MSG_ARG_IAP_FETCH_PRODUCTS = 3;
constexpr int PLAT_MSG_ARG_IAP_PRODUCT_INFO = 4;

// Sizes of the payloads' text fields, the terminating zero included
constexpr int PLAT_MSG_NAME_SIZE = 80;          // identifiers, names, titles, price texts
constexpr int PLAT_MSG_DESCRIPTION_SIZE = 160;  // a product's description
constexpr int PLAT_MSG_CSV_SIZE = 320;          // a comma-separated list of product identifiers
constexpr int PLAT_MSG_TEXT_SIZE = 240;         // an error report's or a status notice's text

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
using PLAT_MSG_NAME = std::array<char, PLAT_MSG_NAME_SIZE>;

// A score for a score board
struct PLAT_MSG_SCORE {
    PLAT_MSG_NAME category;    // the board
    PLAT_MSG_NAME playerid;    // the player's identifier on the platform
    PLAT_MSG_NAME playerdesc;  // the player's shown name
    int64_t value;             // the score
    int rank;                  // the place on the board
    union {                    // the platform's own context for the score
        std::array<uint8_t, 8> bytes;
        int64_t value;
    } context;
};

// A store request or answer: a list of products to fetch, or one product's record.
// NOTE: the two forms share their storage and are named directly (iap.productid,
// iap.productids_csv), hence the anonymous record inside the anonymous union.
struct PLAT_MSG_IAP {
    union {
        std::array<char, PLAT_MSG_CSV_SIZE> productids_csv;  // identifiers to fetch, comma-separated
        struct {
            PLAT_MSG_NAME productid;                                 // the product's identifier
            PLAT_MSG_NAME title;                                     // its shown name
            std::array<char, PLAT_MSG_DESCRIPTION_SIZE> description; // its shown description
            PLAT_MSG_NAME transactionid;                             // the purchase's identifier
            PLAT_MSG_NAME pricetext;                                 // its price as the store shows it
            double priceval;                                         // its price as a number
        };
    };
    int quantity;  // how many
};

// An error report; a status notice has the same layout
struct PLAT_MSG_ERROR_REPORT {
    std::array<char, PLAT_MSG_TEXT_SIZE> text;  // what happened
    int code;                                   // the platform's own code for it
};

struct PLAT_MSG;
using PLAT_MSG_HANDLER = int (*)(PLAT_MSG *msg);  // a side's handler: the answer's code

// One message. Text fields are zero-terminated within their size.
struct PLAT_MSG {
    uint32_t typeid_;    // PLAT_MSG_TYPE_* (the underscore because typeid is a C++ keyword)
    uint32_t refid;      // reference number, unique per allocation, from 1 upwards
    uint32_t timestamp;  // logic tick number when the message was last sent
    int code;            // PLAT_MSG_CODE_* or a status
    uint8_t active;      // the pool slot is in use
    union {              // the payload, by type
        PLAT_MSG_SCORE score;
        PLAT_MSG_IAP iap;
        PLAT_MSG_ERROR_REPORT error;
        PLAT_MSG_ERROR_REPORT status;
    } info;
    struct {             // the poster's own context, carried unchanged to the answer
        int arg;         // the request's sub-kind (PLAT_MSG_ARG_IAP_* for the store)
        int hint;
        void *data;
    } user;
    PLAT_MSG_HANDLER poster;  // the poster's handler that answers go to; set when the poster sends
};

// A side's pool
struct PLAT_MSG_LIST {
    int i;                                        // the slot where the next search starts
    std::array<PLAT_MSG, PLAT_MSG_LIST_SIZE> msg;
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void plat_msg_init();                                 // clear both pools; run by the first allocation
void plat_msg_exit();                                 // logs its trace line only
void plat_msg_set_poster(PLAT_MSG_HANDLER handler);   // install the application's handler
void plat_msg_set_replier(PLAT_MSG_HANDLER handler);  // install the platform's handler
PLAT_MSG *plat_msg_alloc_poster();                    // a cleared message of the poster's pool, or null
PLAT_MSG *plat_msg_alloc_replier();                   // a cleared message of the replier's pool, or null
void plat_msg_free(PLAT_MSG *msg);                    // give the slot back
// Send to the replier and free the message; the replier's answer, or 0 when a handler is missing
int plat_msg_poster_send(PLAT_MSG *msg);
// Send an answer to msg->poster (the installed poster when that is null) and free the message;
// the poster's answer, or 0 when a handler is missing
int plat_msg_replier_send(PLAT_MSG *msg);
