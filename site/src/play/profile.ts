export function setUpProfile(..._: unknown[]) {}
