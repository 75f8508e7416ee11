export function setUpSteps(..._: unknown[]) {}
