/* Delivery, record, kill and recovery, as docs/journal.md tells them: the model that Spin searches whole.
 *
 * The workflow: A gets START signals in a row, each fires the next one and one for B; the first one sets a worker on a thread of its
 * own to work, which fires TICKS signals for B, the first ones perhaps before that delivery has ended. A and B count what they get. The process is killed at most KILLS times, between any two steps; what was
 * appended to the record stays, all else is gone. The next run makes its state of the record and goes on.
 *
 * What holds: the signals whose delivery has ended are delivered once; at the end both have counted each signal exactly once.
 *
 * Each name below is a mistake that this must not allow; scripts/test-models defines them one at a time.
 *   CHANGES_COUNT_AT_ONCE   what a delivery changed counts although it has not ended
 *   SIGNALS_COUNT_AT_ONCE   what a delivery fired counts although it has not ended
 *   GONE_WHEN_BEGUN         a signal leaves the queue when its delivery begins
 *   END_TOLD_FIRST          the delivery's end is recorded before what it changed and fired
 *   CONTINUATION_APART      how the worker would go on is an entry of its own, behind the signal that it fired
 *   OUTRUN_COUNTS           what the worker fires counts although the delivery that set it to work has not ended
 *   HELD_COUNT_AT_ONCE      what the worker holds for its next signal counts without that signal
 *   SNAPSHOT_BEFORE_QUEUE   the new record begins before the signals that wait are in it
 */
#define START 2
#define TICKS 2
#define KILLS 2
#define SIGNALS 12  /* the numbers of one run are below it */
#define NONE 99
#define ENTRIES 40  /* of one record */

mtype:kind = {queued, begun, changed, held, ended, continues};

typedef Entry {
  mtype:kind kind;
  byte number;  /* of the signal; of a change: the delivery that it belongs to */
  byte cause;   /* the delivery that fired it, or that set to work what did and had not ended; 0 for none */
  byte name;    /* of the signal: 1 to START for A, START + 1 and so on for B */
  byte value;   /* of a count; or what is left for the worker, NONE where that is not said */
  bool of_b;    /* the count that was changed */
};
/* The record, which outlives the process: the dictionary and the queue as they were when it began, then entries. */
Entry entries[ENTRIES];
byte used;
byte first_a, first_b, first_left;
byte first_queue[SIGNALS], first_waiting;

/* The process. */
byte a, b, left;
byte queue[SIGNALS], waiting;  /* names, by their numbers; the first one waits at `front` */
byte front, last;
bool alive, is_delivering;
byte beginning;  /* the delivery that sets the worker to work; 0 when it has ended */
byte kills;

/* What happened, for the properties alone. */
bool is_done[16];

/* Of a recovery alone. */
hidden byte has_ended[SIGNALS];
hidden byte was_begun[SIGNALS];
hidden byte named[SIGNALS];

inline Append(a_kind, a_number, a_cause, a_name, a_value, a_of_b) {
  entries[used].kind = a_kind;
  entries[used].number = a_number;
  entries[used].cause = a_cause;
  entries[used].name = a_name;
  entries[used].value = a_value;
  entries[used].of_b = a_of_b;
  used++;
  assert(used < ENTRIES);
}

inline Queue(q_cause, q_name, q_left) {
  last++;
  assert(last < SIGNALS);
  queue[last] = q_name;
  Append(queued, last, q_cause, q_name, q_left, false);
}

/* Names of what A fires for B, and of ticks. */
#define FOR_B(name) (START + (name))
#define TICK(left) (2 * START + (left))

/* It says how the worker goes on, if it set that to work. */
inline EndDelivery() {
  if
  :: name == 1 -> Append(ended, number, 0, name, left, false); beginning = 0
  :: else -> Append(ended, number, 0, name, NONE, false)
  fi;
  assert(!is_done[name]); is_done[name] = true
}

proctype Pump() {
  byte number, name;
  do
  :: atomic { !alive -> break }
  :: atomic { alive && front <= last -> number = front; name = queue[front]; front++; is_delivering = true; Append(begun, number, 0, name, 0, false) }
#ifdef END_TOLD_FIRST
     atomic { alive -> EndDelivery() }
#endif
     if
     :: atomic { !alive -> break }
     :: atomic {
          alive && name <= START -> a++; Append(changed, number, 0, 0, a, false);
          if :: name == 1 -> beginning = number; left = TICKS :: else fi
        }
        if
        :: atomic { !alive -> break }
        :: atomic { alive && name < START -> Queue(number, name + 1, NONE) }
        :: atomic { alive && name == START -> skip }
        fi;
        if
        :: atomic { !alive -> break }
        :: atomic { alive -> Queue(number, FOR_B(name), NONE) }
        fi
     :: atomic { alive && name > START -> b++; Append(changed, number, 0, 0, b, true) }
     fi;
#ifndef END_TOLD_FIRST
     if
     :: atomic { !alive -> break }
     :: atomic { alive -> EndDelivery() }
     fi
#endif
     ;
     atomic { if :: alive -> is_delivering = false :: else fi }
  od
}

/* Its rest stands in the dictionary; a change that it holds counts with the signal that follows. */
proctype Worker() {
  byte rest;
  do
  :: atomic { !alive -> break }
  :: atomic { alive && left > 0 -> rest = left - 1; Append(held, 0, 0, 0, rest, false) }
     if
     :: atomic { !alive -> break }
#ifdef CONTINUATION_APART
     :: atomic { alive -> Queue(beginning, TICK(left), NONE); left = rest }
        if
        :: atomic { !alive -> break }
        :: atomic { alive -> Append(continues, 0, 0, 0, rest, false) }
        fi
#else
     :: atomic { alive && beginning == 0 -> Queue(0, TICK(left), rest); left = rest }
#ifdef OUTRUN_COUNTS
     :: atomic { alive && beginning != 0 -> Queue(0, TICK(left), NONE); left = rest }
#else
     :: atomic { alive && beginning != 0 -> Queue(beginning, TICK(left), NONE); left = rest }
#endif
#endif
     fi
  od
}

/* The state of the record: what an ended delivery changed and fired, in the order of the record. */
inline Recover() {
  d_step {
    is_delivering = false;
    beginning = 0;
    i = 0;
    do :: i < SIGNALS -> has_ended[i] = false; was_begun[i] = false; named[i] = 0; i++ :: else -> break od;
    i = 0;
    do
    :: i < used ->
       if
       :: entries[i].kind == ended -> has_ended[entries[i].number] = true
       :: entries[i].kind == begun -> was_begun[entries[i].number] = true
       :: else
       fi;
       i++
    :: else -> break
    od;
    a = first_a; b = first_b; left = first_left;
    i = 1;
    do :: i <= first_waiting -> named[i] = first_queue[i]; i++ :: else -> break od;
    last = first_waiting;
    i = 0;
    do
    :: i < used ->
       if
       :: entries[i].kind == changed ->
          if
#ifdef CHANGES_COUNT_AT_ONCE
          :: true ->
#else
          :: has_ended[entries[i].number] ->
#endif
             if :: entries[i].of_b -> b = entries[i].value :: else -> a = entries[i].value fi
          :: else
          fi
#ifdef HELD_COUNT_AT_ONCE
       :: entries[i].kind == held -> left = entries[i].value
#endif
       :: entries[i].kind == queued ->
          last = entries[i].number;
          if
#ifdef SIGNALS_COUNT_AT_ONCE
          :: true -> named[last] = entries[i].name
#else
          :: entries[i].cause == 0 || has_ended[entries[i].cause] -> named[last] = entries[i].name
#endif
          :: else
          fi;
          if :: entries[i].value != NONE -> left = entries[i].value; :: else fi
       :: entries[i].kind == continues -> left = entries[i].value
       :: entries[i].kind == ended && entries[i].value != NONE -> left = entries[i].value
       :: else
       fi;
       i++
    :: else -> break
    od;
    /* The queue of the next run: what waited or was being delivered, in its order, numbered anew. */
    waiting = 0;
    i = 1;
    do
    :: i <= last ->
       if
#ifdef GONE_WHEN_BEGUN
       :: named[i] != 0 && !has_ended[i] && !was_begun[i] -> waiting++; queue[waiting] = named[i]
#else
       :: named[i] != 0 && !has_ended[i] -> waiting++; queue[waiting] = named[i]
#endif
       :: else
       fi;
       i++
    :: else -> break
    od;
    i = waiting + 1;
    do :: i < SIGNALS -> queue[i] = 0; i++ :: else -> break od;
    front = 1; last = waiting
  }
}

/* A kill on the way of a beginning: recovery starts once more. */
inline Maybe() {
  if
  :: kills < KILLS -> kills++; goto recover
  :: true
  fi
}

/* The record begins anew with the state as it is: beside the old one, and in its place by one step. */
inline BeginRecord() {
#ifdef SNAPSHOT_BEFORE_QUEUE
  d_step { used = 0; first_a = a; first_b = b; first_left = left; first_waiting = 0 }
  Maybe();
  d_step {
    i = 1; first_waiting = last;
    do :: i <= last -> first_queue[i] = queue[i]; i++ :: else -> break od
  }
#else
  d_step {
    used = 0; first_a = a; first_b = b; first_left = left; first_waiting = last;
    i = 1;
    do :: i <= last -> first_queue[i] = queue[i]; i++ :: else -> break od;
    do :: i < SIGNALS -> first_queue[i] = 0; i++ :: else -> break od;
    i = 0;
    do
    :: i < ENTRIES ->
       entries[i].kind = 0; entries[i].number = 0; entries[i].cause = 0; entries[i].name = 0; entries[i].value = 0;
       entries[i].of_b = false; i++
    :: else -> break
    od
  }
#endif
}

init {
  byte i;
  first_left = 0; first_queue[1] = 1; first_waiting = 1;
recover:
  Recover();
  BeginRecord();
  atomic { alive = true; run Pump(); run Worker() }
  if
  :: kills < KILLS -> atomic { kills++; alive = false }
     /* Both processes are gone. */
     _nr_pr == 1 -> goto recover
  :: atomic { front > last && left == 0 && !is_delivering -> alive = false }
     _nr_pr == 1
  fi;
  assert(a == START);
  assert(b == START + TICKS)
}
