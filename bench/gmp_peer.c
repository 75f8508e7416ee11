/* One operation of libgmp on numbers of so many digits, so many times: what bench/long_numbers.py measures marl's
 * arithmetic against.
 *
 *   gmp_peer OPERATION DIGITS TIMES
 *
 * The operands are powers of 7 and 3 of about that length, the result of the last time is printed modulo
 * 10^9+7. `euclid` is the greatest common divisor, by remainders one after the other. */
#include <gmp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const double log10_of_3 = 0.47712125471966244;
static const double log10_of_7 = 0.84509804001425681;

static void power_of_length(mpz_t r, unsigned long base, double log10_of_base, double digits) {
    mpz_ui_pow_ui(r, base, (unsigned long)(digits / log10_of_base));
}

static void euclid(mpz_t r, const mpz_t x, const mpz_t y) {
    mpz_t rest;
    mpz_init_set(rest, y);
    mpz_set(r, x);
    while (mpz_sgn(rest) != 0) {
        mpz_tdiv_r(r, r, rest);
        mpz_swap(r, rest);
    }
    mpz_clear(rest);
}

int main(int count, char **arguments) {
    if (count != 4) return 2;
    const char *operation = arguments[1];
    const double digits = atof(arguments[2]);
    const int halves = strcmp(operation, "quotient") == 0 || strcmp(operation, "remainder") == 0;
    mpz_t x, y, r;
    mpz_inits(x, y, r, NULL);
    power_of_length(x, 7, log10_of_7, digits);
    power_of_length(y, 3, log10_of_3, halves ? digits / 2 : digits);
    const unsigned long exponent = (unsigned long)(digits / log10_of_3);
    for (long times = atol(arguments[3]); times > 0; --times) {
        if (strcmp(operation, "sum") == 0) mpz_add(r, x, y);
        else if (strcmp(operation, "difference") == 0) mpz_sub(r, x, y);
        else if (strcmp(operation, "product") == 0) mpz_mul(r, x, y);
        else if (strcmp(operation, "quotient") == 0) mpz_tdiv_q(r, x, y);
        else if (strcmp(operation, "remainder") == 0) mpz_tdiv_r(r, x, y);
        else if (strcmp(operation, "power") == 0) mpz_ui_pow_ui(r, 3, exponent);
        else if (strcmp(operation, "euclid") == 0) euclid(r, x, y);
        else return 2;
    }
    const unsigned long digest = mpz_fdiv_ui(r, 1000000007);
    printf("%lu\n", digest);
    return 0;
}
