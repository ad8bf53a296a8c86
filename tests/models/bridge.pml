/* A bridge between two runs, as docs/bridge.md tells it: the sender's outbox, the receiver's number, and between them a network that
 * loses, doubles, delays and reorders whatever it is given, from the first frame to the last. Spin searches it whole.
 *
 * Each of the two is killed at most KILLS times, between any two steps. What stands in its record stays: of the sender the outbox,
 * of the receiver the highest number that was delivered, with the delivery itself. All else is gone, frames on their way are not.
 *
 * What holds: each signal is delivered at most once, in the order of the outbox, and is the one that stood there; the outbox is rid
 * only of what was delivered; at the end all are delivered and the outbox is empty.
 *
 * Each name below is a mistake that this must not allow; scripts/test-models defines them one at a time.
 *   SENT_BEFORE_RECORDED    a signal is sent before it stands in the sender's record
 *   ANSWERED_BEFORE_RECORDED   a number is acknowledged before the receiver's record has it
 *   COUNTED_APART           the delivery and its number are two entries of the receiver's record
 *   GAP_TAKEN               a signal is taken although one before it is missing
 *   DOUBLE_TAKEN            a signal is taken although its number was delivered
 *   GAP_ANSWERED            the highest number that was seen is acknowledged, not the highest that was delivered
 */
#ifdef TRACE
/* What happened in two real runs, each in its order: then the search is for a way through this model on which that happens, and
 * finds it by the assertion in Accepted. tests/bridge/BridgeTraceTest_posix.cpp writes the file: SIGNALS, and the traces. */
#include "trace.h"
byte sender_at, receiver_at;
#define SenderMay(event) (sender_at < SENDER_EVENTS && sender_trace[sender_at] == (event))
#define SenderDid sender_at++
#define ReceiverMay(event) (receiver_at < RECEIVER_EVENTS && receiver_trace[receiver_at] == (event))
#define ReceiverDid receiver_at++
#else
#define SIGNALS 3
#define SenderMay(event) true
#define SenderDid skip
#define ReceiverMay(event) true
#define ReceiverDid skip
#endif
/* Events of a trace: the sender has fired a signal, its number; the receiver has taken one, its number; and */
#define SETTLED 100 /* with a number: up to there the outbox is empty again */
#define KILLED 255

#define KILLS 2
#define NUMBERS (SIGNALS + 1) /* 1 to SIGNALS */
#define LIVES 3   /* 0 to KILLS: what a sender fires is told apart by the life in which it did */

/* Records. */
byte fired;            /* signals that were ever in the outbox; their numbers are 1 to `fired` */
byte settled;          /* up to here they are out of it again */
byte content[NUMBERS]; /* of each that stands in the record: 1 and the life in which it was fired */
byte delivered;        /* the receiver's number */

/* What is gone with a process. */
byte sent;  /* a signal that was sent and does not stand in the record yet; 0 for none */
byte lives, receiver_kills;
byte acknowledged; /* the receiver may answer up to here */
byte seen;

/* The network: what was ever put in may come out again, any time, any number of times, or never. */
bool frames[NUMBERS * 4]; /* number * 4 + content */
bool answers[NUMBERS];

/* For the properties. */
byte taken[NUMBERS]; /* the content that was delivered; 0 for none */

#define Frame(number, what) ((number) * 4 + (what))
#define MayTake(number) (number == delivered + 1)

active proctype Sender() {
  byte number;
  do
  /* A signal enters the outbox. */
#ifdef SENT_BEFORE_RECORDED
  :: atomic { fired < SIGNALS && sent == 0 -> sent = fired + 1; frames[Frame(sent, lives + 1)] = true }
  :: atomic { sent != 0 -> fired++; content[fired] = lives + 1; sent = 0 }
#else
  :: atomic { fired < SIGNALS && SenderMay(fired + 1) -> SenderDid; fired++; content[fired] = lives + 1 }
#endif
  /* Whatever stands in the outbox is sent, again and again. */
  :: atomic {
       settled < fired -> number = settled + 1;
       do
       :: number < fired -> number++
       :: break
       od;
       frames[Frame(number, content[number])] = true; number = 0
     }
  /* An answer of any age: what it acknowledges leaves the outbox. */
  :: atomic {
       number = 1;
       do
       :: number < SIGNALS -> number++
       :: break
       od;
       if
       :: answers[number] && number > settled && SenderMay(SETTLED + number) ->
          SenderDid;
          assert(number <= fired);
          assert(taken[number] != 0 || number <= delivered);
          settled = number
       :: else -> skip
       fi;
       number = 0
     }
  :: atomic { lives < KILLS && SenderMay(KILLED) -> SenderDid; lives++; sent = 0 }
  :: fired == SIGNALS && settled == SIGNALS -> break
  od
}

active proctype Receiver() {
  byte number, what;
  do
  /* A frame comes out of the network. */
  :: atomic {
       number = 1;
       do
       :: number < SIGNALS -> number++
       :: break
       od;
       what = 1;
       do
       :: what < LIVES -> what++
       :: break
       od;
       if
       :: frames[Frame(number, what)] ->
          if :: number > seen -> seen = number :: else fi;
#ifdef ANSWERED_BEFORE_RECORDED
          if :: MayTake(number) -> answers[number] = true :: else fi;
#endif
#ifdef GAP_ANSWERED
          acknowledged = seen
#else
          skip
#endif
       :: else -> what = 0
       fi
     }
     if
     :: atomic {
#if defined(GAP_TAKEN)
          what != 0 && number > delivered ->
#elif defined(DOUBLE_TAKEN)
          what != 0 && number <= delivered + 1 ->
#else
          what != 0 && MayTake(number) && ReceiverMay(number) ->
#endif
          ReceiverDid;
          assert(taken[number] == 0);
          assert(number == 1 || taken[number - 1] != 0);
          assert(number > fired || what == content[number]);
          taken[number] = what
#ifndef COUNTED_APART
          ;
          if :: number > delivered -> delivered = number :: else fi;
          acknowledged = delivered;
          number = 0; what = 0
#endif
        }
#ifdef COUNTED_APART
        if
        :: atomic { delivered = number; acknowledged = delivered; number = 0; what = 0 }
        :: atomic { receiver_kills < KILLS && ReceiverMay(KILLED) -> ReceiverDid; receiver_kills++; acknowledged = delivered; seen = 0; number = 0; what = 0 }
        fi
#endif
     /* It had that one, lacks one before it, or is killed before it stands in the record. */
     :: atomic { what == 0 || !MayTake(number) || !ReceiverMay(number) -> number = 0; what = 0 }
     :: atomic { receiver_kills < KILLS && ReceiverMay(KILLED) -> ReceiverDid; receiver_kills++; acknowledged = delivered; seen = 0; number = 0; what = 0 }
     fi
  :: atomic { acknowledged > 0 -> answers[acknowledged] = true }
  :: fired == SIGNALS && settled == SIGNALS -> break
  od;
  number = 1;
  do
  :: number <= SIGNALS -> assert(taken[number] == content[number]); number++
  :: else -> break
  od
}

#ifdef TRACE
active proctype Accepted() {
  sender_at == SENDER_EVENTS && receiver_at == RECEIVER_EVENTS -> assert(false)
}
#endif
