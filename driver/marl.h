/* Programs of marl inside another program.
 *
 * A session is one program: begin, load, run, look at what came of it, end. Sessions follow each
 * other in a process, as many as you like, but only one stands at a time: the program is what the
 * tables of the process hold. All calls come from the process's main thread.
 *
 * The program runs in your process, with all that its built-ins reach: it can end it, and it can
 * read and write any memory. docs/embedding.md tells what to expect. */
#ifndef MARL_H
#define MARL_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct marl_session marl_session;

/* A new session; null while another one stands, and in another thread than the main one. */
marl_session* marl_begin(void);

/* Loads a program, `size` bytes of source, and checks it as a whole; backquotes in it are
 * evaluated. False for a fault. A session loads one program. */
bool marl_load(marl_session* session, const char* source, size_t size);

/* Runs the program that was loaded, once: its entry expression, applied to the address of
 * `arguments`. They end in a null pointer and outlive the session; null stands for none. False for
 * a fault, a cycle or a Report that the program gave back, and when there is nothing to run. */
bool marl_run(marl_session* session, char** arguments);

/* What the program came to, as `lisp` prints it, with a NUL behind it that `size` doesn't count;
 * null when it came to nothing. `size` may be null. */
const char* marl_result(const marl_session* session, size_t* size);

/* The exit status that `marl` would end with: the low 32 bits of an integer, and 0x80000000 for
 * everything else. */
uint32_t marl_status(const marl_session* session);

/* The fault that has stopped the session: its kind in a word, its sentence, and the picture that
 * `marl` would show. Null when there is none. */
const char* marl_fault_kind(const marl_session* session);
const char* marl_fault_sentence(const marl_session* session);
const char* marl_fault_picture(const marl_session* session);

/* Ends the session and frees all that it holds, these texts included. What a program that came to a
 * result has left in its definitions runs its `todo` actions first. Null is no session. */
void marl_end(marl_session* session);

#ifdef __cplusplus
}
#endif

#endif
