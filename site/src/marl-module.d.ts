declare module "marl-module" {
  const createMarl: (settings: object) => Promise<unknown>;
  export default createMarl;
}

declare module "laboratory-module" {
  const createLaboratory: (settings: object) => Promise<unknown>;
  export default createLaboratory;
}
