/* SPDX-License-Identifier: MIT */
/* The minimum cost of a static program. */
int main(void) {
    return 0;
}
