// What the unit tests of the pages' models need, bundled for node.
export { checked, definitionOf, indentBehind, piecesOf, showingValue, useOf } from "../src/language/program";
export { callTree } from "../src/play/calls";
export { endingOf } from "../src/play/ending";
export { OutputModel } from "../src/play/output";
export { framesOf } from "../src/play/profile";
export { Programs } from "../src/play/programs";
export { fragmentOf, givenBy } from "../src/play/share";
export { cutLine, piecesOfLine, placeIn, writtenBy } from "../src/play/steps_model";
export { sharedParts, waitingIn } from "../src/play/tree";
export { serve } from "./serve";
