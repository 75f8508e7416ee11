# sudoku: solves the puzzles on standard input, one a line.
import sys


def together(i, j):
    return i // 9 == j // 9 or i % 9 == j % 9 or (i // 27 == j // 27 and i % 9 // 3 == j % 9 // 3)


PEERS = [[j for j in range(81) if i != j and together(i, j)] for i in range(81)]
COUNTS = [bin(n).count("1") for n in range(512)]


def set_field(board, i, bit):
    if not board[i] & bit:
        return False
    board[i] = bit
    for j in PEERS[i]:
        if board[j] & bit:
            board[j] -= bit
            if not board[j]:
                return False
            if COUNTS[board[j]] == 1 and not set_field(board, j, board[j]):
                return False
    return True


def solve(board):
    open_fields = [(COUNTS[x], i) for i, x in enumerate(board) if COUNTS[x] > 1]
    if not open_fields:
        return board
    i = min(open_fields)[1]
    for bit in [1 << d for d in range(9)]:
        if board[i] & bit:
            copy = board[:]
            if set_field(copy, i, bit):
                found = solve(copy)
                if found:
                    return found
    return None


for number, line in enumerate(sys.stdin.read().splitlines(), 1):
    board = [511] * 81
    if len(line) != 81 or not all(c in ".0" or set_field(board, i, 1 << (ord(c) - 49))
                                  for i, c in enumerate(line)):
        print(f"{number}: no puzzle")
        continue
    found = solve(board)
    print("".join(str(x.bit_length()) for x in found) if found else f"{number}: no solution")
