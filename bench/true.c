/* SPDX-License-Identifier: MIT */
/* The least that a static program costs. */
int main(void) {
    return 0;
}
