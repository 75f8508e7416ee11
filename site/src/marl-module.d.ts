declare module "marl-module" {
  const createMarl: (settings: object) => Promise<unknown>;
  export default createMarl;
}
